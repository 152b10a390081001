#include "resources/templates.h"

// The menus in Japanese. Numbers between the entries are place-holders of lists that are made at start-up: 5395, 5595,
// 5596, 8005, and those of the filters 10000, 10998, 10999, 11000, 11998, 11999, 14000, 15000. Keys are those of the
// default key table, which the running one replaces.
const char MENUS_JA[] = R"menus(
menu VANTEL
  popup "ファイル(&F)"
    item 5097 "開く(&O)..." "Ctrl+O"
    item 5157 "閉じる(&C)"
    --
    item 5100 "追加読み込み(&A)..."
    item 5168 "音声読み込み(&U)..."
    --
    item 5118 "編集プロジェクトを開く(&J)..."
    item 1023 "編集プロジェクトの保存(&T)..."
    item 1024 "編集プロジェクトの上書き(&R)"
    --
    item 1003 "AVI出力(&S)..." "Ctrl+S"
    item 1062 "WAV出力(&W)..."
    popup "プラグイン出力(&P)"
      item 5395 "なし"
    end
    item 1025 "バッチ出力(&B)..."
    item 1009 "出力の中断(&Z)" "Esc"
    --
    popup "インポート(&I)"
      item 5167 "キーフレームリスト(&K)..."
      item 14000 "-"
    end
    popup "エクスポート(&E)"
      item 1054 "キーフレームリスト(&K)..."
      item 15000 "-"
    end
    popup "AVIファイルの連結・合成(&V)"
      item 1057 "AVIファイルの連結(&C)..."
      item 1058 "AVIファイルの合成(&M)..."
    end
    --
    popup "最近使ったファイル(&H)"
      item 5596 "なし"
      --
      item 1073 "最近使ったファイルの履歴を消去(&D)"
    end
    --
    popup "プロセスの優先度(&Y)"
      item 1041 "Highest"
      item 1040 "High"
      item 1039 "Normal"
      item 1038 "Low"
      item 1037 "Lowest"
      --
      item 1042 "Realtime"
    end
    popup "環境設定(&G)"
      item 108 "システムの設定(&S)..."
      item 109 "コーデックの設定(&C)..."
      popup "入力プラグインの設定(&I)"
        item 5595 "なし"
      end
      item 1086 "入力プラグイン優先度の設定(&P)..."
      item 102 "ショートカットキーの設定(&K)..."
      item 106 "言語の設定 (&Language)..."
      --
      item 111 "ウィンドウの位置を初期化(&W)"
    end
    --
    item 1002 "終了(&X)"
  end
  popup "フィルタ(&L)"
    item 10000 "-"
    --
    item 10999 "-"
    --
    item 5183 "すべてのフィルタをOFFにする(&A)"
  end
  popup "設定(&S)"
    item 11000 "-"
    --
    item 11998 "-"
    --
    item 11999 "-"
    --
    item 5127 "ビデオ圧縮の設定(&V)..."
    item 5128 "オーディオ圧縮の設定(&A)..."
    item 5399 "プラグイン出力の設定(&P)..."
    --
    item 5139 "ビデオフィルタ順序の設定(&O)..."
    item 5181 "オーディオフィルタ順序の設定(&U)..."
  end
  popup "編集(&E)"
    item 1020 "現在のフレームの画像をコピー(&C)" "Ctrl+C"
    item 5117 "現在のフレームに画像を貼り付け(&V)" "Ctrl+V"
    --
    item 1026 "クリップボードに画像をコピー(&B)"
    item 5123 "クリップボードから画像を貼り付け(&P)"
    item 1070 "クリップボードに出力画像をコピー(&O)"
    --
    item 5131 "指定のフレームに移動(&G)..." "Ctrl+G"
    item 5115 "選択範囲の指定(&R)..."
    item 5184 "選択範囲のフレームに画像を貼り付け(&L)"
    item 5143 "選択範囲の切り出し(&X)"
    item 5101 "選択範囲の削除(&D)"
    item 5147 "元に戻す(&Z)" "Ctrl+Z"
    item 5112 "すべてのフレームを選択(&A)" "Ctrl+A"
    --
    item 5109 "選択範囲に新しい一時プロファイルを使う(&N)"
    item 5126 "選択範囲のビデオ圧縮の設定(&S)..."
    item 5125 "選択範囲のインターレース解除の指定(&I)..."
    --
    popup "フレームのインターレース解除(&E)"
      item 5196 "標準"
      item 5197 "反転"
      item 5198 "奇数"
      item 5199 "偶数"
      item 5200 "二重化"
      item 5201 "自動"
    end
    popup "フレームのプロファイル(&F)"
      item 5206 "プロファイル &0"
      item 5207 "プロファイル &1"
      item 5208 "プロファイル &2"
      item 5209 "プロファイル &3"
      item 5210 "プロファイル &4"
      item 5211 "プロファイル &5"
      item 5212 "プロファイル &6"
      item 5213 "プロファイル &7"
      item 5214 "プロファイル &8"
      item 5215 "プロファイル &9"
    end
    --
    item 5129 "キーフレームにする(&K)"
    item 5132 "優先的に間引くフレームにする(&T)"
    item 5130 "マークフレームにする(&M)"
    item 5156 "前のフレームをコピーするフレームにする(&Y)"
    --
    item 5398 "再生速度の変更(&H)..."
    --
    popup "基本機能(&U)"
      item 9002 "次のフレームに移動"
      item 9001 "前のフレームに移動"
      item 5142 "次の出力フレームに移動"
      item 5141 "前の出力フレームに移動"
      item 5396 "最初のフレームに移動"
      item 5397 "最後のフレームに移動"
      --
      item 5110 "選択開始フレームにする"
      item 5111 "選択終了フレームにする"
      item 5103 "選択開始フレームに移動"
      item 5104 "選択終了フレームに移動"
      --
      item 5174 "次のキーフレームに移動"
      item 5175 "前のキーフレームに移動"
      item 5178 "次のマークフレームに移動"
      item 5179 "前のマークフレームに移動"
      item 5176 "次の設定の変わり目に移動"
      item 5177 "前の設定の変わり目に移動"
      item 5170 "次の不連続なフレームに移動"
      item 5171 "前の不連続なフレームに移動"
      --
      item 5187 "任意フレーム数次に移動 (A)"
      item 5188 "任意フレーム数前に移動 (A)"
      item 5189 "任意フレーム数次に移動 (B)"
      item 5190 "任意フレーム数前に移動 (B)"
      item 5191 "任意フレーム数次に移動 (C)"
      item 5192 "任意フレーム数前に移動 (C)"
      item 5193 "任意フレーム数次に移動 (D)"
      item 5194 "任意フレーム数前に移動 (D)"
      --
      item 1099 "現在のフレームから再生"
      item 1090 "クリップボードにフレーム番号をコピー"
    end
  end
  popup "プロファイル(&P)"
    item 8005 "-"
    --
    item 8001 "新しいプロファイルを作る(&N)..."
    item 8002 "現在のプロファイルを削除する(&D)"
    item 8000 "現在のプロファイルを初期値に戻す(&R)"
  end
  popup "表示(&V)"
    popup "表示倍率(&Z)"
      item 9200 "25%"
      item 9201 "50%"
      item 9202 "100%"
      item 9203 "200%"
      item 9204 "300%"
      item 9205 "400%"
      item 9206 "WindowSize"
    end
    item 9107 "ズームイン(&I)"
    item 9108 "ズームアウト(&O)"
    --
    item 9104 "オーディオ波形の表示(&A)"
    item 9114 "時間の表示(&T)"
    item 9105 "セーブ中もプレビュー表示(&P)"
    item 9115 "セーブ中にデータレートを表示(&D)"
    item 9106 "間引き予定フレームの表示(&F)"
    item 9110 "再圧縮が必要なフレームの表示(&R)"
    item 9109 "ソースファイルのキーフレーム表示(&K)"
    --
    item 10998 "-"
    --
    item 9113 "常に手前に表示(&N)"
    item 9111 "オーバーレイ表示(&V)"
    item 5144 "セーブ中のみフィルタリングして表示(&S)"
  end
  popup "その他(&O)"
    item 1006 "ファイルの情報(&F)"
    item 104 "オーバーレイ情報(&O)"
    --
    item 101 "プラグインフィルタ情報(&P)"
    item 103 "入力プラグイン情報(&I)"
    item 105 "出力プラグイン情報(&U)"
    item 110 "色変換プラグイン情報(&C)"
    item 107 "言語拡張リソース情報(&L)"
    --
    item 100 "バージョン情報(&A)"
  end
end

menu CONTEXT
  item 9200 "25%"
  item 9201 "50%"
  item 9202 "100%"
  item 9203 "200%"
  item 9204 "300%"
  item 9205 "400%"
  item 9206 "WindowSize"
  --
  item 1020 "現在のフレームの画像をコピー(&C)"
  item 5117 "現在のフレームに画像を貼り付け(&V)"
  --
  item 1026 "クリップボードに画像をコピー(&B)"
  item 5123 "クリップボードから画像を貼り付け(&P)"
  item 1070 "クリップボードに出力画像をコピー(&O)"
  --
  item 5143 "選択範囲の切り出し(&X)"
  item 5101 "選択範囲の削除(&D)"
  item 5147 "元に戻す(&Z)"
  item 5112 "すべてのフレームを選択(&A)"
  --
  item 5130 "マークフレームにする(&M)"
end

menu CONTEXT2
  item 13000 "フィルタのON/OFF切替え"
  item 13001 "設定を初期値に戻す"
end

menu HIST
  popup "表示"
    item 100 "RGB"
    item 101 "YCbCr"
  end
end
)menus";
