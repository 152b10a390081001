#include "resources/templates.h"

// What the entries mean is told in templates.h. Numbers are published: languages and key files know them.

const char DIALOGS_JA[] = R"text(
# ---- opening files: below the file dialog

dialog LOAD_OPTION ""
  row
    column
      check 32200 "60fps読み込み"
      check 32201 "連番AVI読み込み"
    end
    column
      check 32202 "fps調整"
      check 32203 "選択範囲に読み込む"
    end
    column
      form
        combo 32500 "フレームレート" 14
      end
    end
    space
  end
end

# ---- one question each

dialog STRINGS ""
  edit 32100 "" 40
  buttons 1 "OK" 2 "キャンセル"
end

dialog SELECT "選択範囲の指定"
  form
    number 32000 "選択開始フレーム" 0 9999999 10
    number 32001 "選択終了フレーム" 0 9999999 10
  end
  buttons 1 "OK" 2 "キャンセル"
end

dialog MOVE "移動先の指定"
  number 32000 "" 0 9999999 12
end

dialog INTER "インターレース解除の指定"
  combo 32500 "" 20
  buttons 1 "OK" 2 "キャンセル"
end

dialog FILE_INFO "再生速度の変更"
  form
    row
      edit 32100 "フレームレート     ：" 12
      label 0 "fps"
      label 32102 ""
    end
    row
      edit 32101 "サンプリングレート ：" 12
      label 0 "Hz"
      label 32103 ""
    end
  end
  buttons 1 "OK" 2 "キャンセル"
end

dialog SIZE "サイズの指定"
  form
    number 32000 "X" 0 99999 8
    number 32001 "Y" 0 99999 8
  end
  buttons 1 "OK" 2 "キャンセル"
end

dialog WAV_OPTION "WaveFileReaderの設定"
  group "動画として読み込む時の解像度"
    form
      number 32000 "幅" 0 99999 8
      number 32001 "高さ" 0 99999 8
    end
  end
  buttons 1 "OK" 2 "キャンセル"
end

# ---- order of the filters

dialog PRIORITYLIST "フィルタの順序"
  row
    list 32600 "" 36 16 -movable
    column
      button 32701 "上に移動"
      button 32702 "下に移動"
      space
      button 32700 "初期化"
    end
  end
  buttons 1 "OK" 2 "キャンセル"
end

# ---- system settings; the bounds of the numbers are those of the settings

dialog SYSTEM "システムの設定"
  page "画像とフレーム"
    group "最大画像サイズ"
      row
        number 32000 "幅" 0 99999 8
        number 32001 "高さ" 0 99999 8
        space
      end
    end
    form
      number 32002 "最大フレーム数" 0 99999999 10
      number 32003 "キャッシュフレーム数" 0 999 10
      edit 32103 "リサイズ設定の解像度リスト" 44
    end
    check 32201 "プロファイルに圧縮の設定を保持する"
    check 32202 "プラグインとコーデックの情報をキャッシュする"
    check 32203 "フレーム番号の表示を1からにする"
    check 32204 "フレーム移動時にSHIFTキーを押している時は範囲選択移動にする"
    check 32205 "YUY2フィルタモード (プラグインフィルタが使えなくなります)"
    rule
    label 0 "※上記の設定はVantelの再起動後に有効になります"
    space
  end
  page "読み込みと編集"
    check 32210 "追加読み込みしたファイルのfpsを変換しない"
    check 32212 "ロード時に29.97fpsに近いものは自動的に29.97fpsに変換する"
    check 32213 "ロード時に映像と音声の長さが0.1秒以上ずれているものは自動的にfps調整する"
    check 32211 "ロード時にプロファイルを一時プロファイルに複製して使用する"
    check 32221 "編集プロジェクトロード時に現在のプロファイルの設定を反映させる"
    check 32219 "[開く]でプロジェクトファイルを指定した時はプロジェクトとして開く"
    check 32218 "ファイルのドラッグ＆ドロップ時にファイル選択ダイアログを表示する"
    check 32220 "編集ファイルが閉じられる時に確認ダイアログを表示する"
    check 32209 "編集のレジューム機能を有効"
    form
      edit 32104 "読み込み時のfps変換リスト" 44
    end
    space
  end
  page "操作"
    group "任意フレーム数移動"
      form
        number 32005 "A" -2147483648 2147483647 10
        number 32006 "B" -2147483648 2147483647 10
        number 32007 "C" -2147483648 2147483647 10
        number 32008 "D" -2147483648 2147483647 10
      end
    end
    check 32222 "関連ウィンドウ同士を移動時にスナップする"
    space
  end
  page "出力と処理"
    form
      row
        edit 32101 "デフォルトの出力ファイル名" 32
        button 32301 "参照"
      end
      row
        edit 32102 "出力終了時のサウンド" 32
        button 32302 "参照"
      end
      number 32009 "出力時のファイル書き込み単位" -2147483648 2147483647 "KByte" 10
    end
    check 32215 "ファイル選択ダイアログで上書き確認をしない"
    check 32214 "YUY2変換時にY:16-235,UV:16-240の範囲に飽和"
    check 32208 "vantel.vfpをVFPlugin登録"
    group "画像処理"
      form
        number 32010 "画像処理のスレッド数(0=自動設定)" 0 64 6
      end
      check 32217 "個別のCPUを割り当てる"
      check 32206 "SSEを使用"
      check 32207 "SSE2を使用"
    end
    space
  end
  buttons 1 "OK" 2 "キャンセル"
end
)text";
