#include "resources/templates.h"

// The dialogs of compression and output. What the entries mean is told in templates.h. Numbers are published: languages
// know them.

const char DIALOGS_OUTPUT_JA[] = R"text(
# ---- codecs

dialog VCMSET "ビデオの圧縮"
  form
    combo 32500 "圧縮プログラム" 36
    number 32000 "圧縮の品質 (0～100)" 0 100 8
    number 32001 "キーフレーム (0:無し)" 0 9999999 10
    number 32002 "データ率 (0:無し)" 0 9999999 "KB/秒" 10
  end
  row
    button 32300 "設定"
    button 32301 "標準に戻す"
    button 32302 "バージョン情報"
    space
  end
  space
  buttons 1 "OK" 2 "キャンセル"
end

# One choice for each key of the codec is put into the form.
dialog VCMSET_CONFIG "圧縮の設定"
  form
  end
  space
  buttons 1 "OK" 2 "キャンセル"
end

dialog CODEC "コーデックの設定"
  list 32600 "圧縮プログラム" 40 12
  label 32400 ""
  check 32200 "YUY2で展開する"
  check 32201 "YUY2で圧縮する"
  check 32202 "圧縮の設定を保持する"
  buttons 1 "OK" 2 "キャンセル"
end

dialog AUDIOSET "オーディオの圧縮"
  form
    combo 32500 "形式" 36
  end
  list 32600 "属性" 46 14
  buttons 1 "OK" 2 "キャンセル"
end

# ---- saving: below the file dialog

dialog SAVE_OPTION ""
  row
    label 32406 ""
    space
    button 32302 "バッチ登録"
  end
  row
    group "映像"
      row
        button 32300 "ビデオ圧縮"
        label 32400 ""
        space
      end
      row
        check 32200 "再圧縮無し"
        space
      end
      space
    end
    group "音声"
      row
        button 32301 "オーディオ圧縮"
        label 32401 ""
        space
      end
      row
        check 32203 "再圧縮無し"
        check 32201 "音声無し"
        check 32204 "音声をWAV出力"
        space
      end
      space
    end
  end
  row
    number 32000 "インターリーブ間隔" 1 99999999 8
    check 32202 "ログ出力"
    button 32303 "Ex.info"
    space
  end
end

dialog SAVE_EXINFO "Ex.info"
  form
    edit 32100 "タイトル" 40
    edit 32101 "コメント" 40
    edit 32102 "著作権" 40
  end
  buttons 1 "OK" 2 "キャンセル"
end

dialog SAVE_OVERWRITE "上書きの確認"
  label 0 "同じ名前のファイルが既に存在します。"
  label 32400 ""
  label 0 "上書きしますか？"
  buttons 1 "OK" 2 "キャンセル"
end

# ---- joining and mixing files

dialog AVICHAIN "AVIファイルの連結"
  row
    column
      list 32600 "連結ファイル" 56 10
    end
    column
      space
      button 32703 "追加"
      button 32707 "連番ファイル追加"
      button 32704 "削除"
      button 32700 "すべて削除"
      space
    end
  end
  form
    edit 32100 "タイトル" 48
    edit 32101 "コメント" 48
    edit 32102 "著作権" 48
    row
      edit 32104 "出力ファイル" 48
      button 32304 "参照"
    end
  end
  buttons 1 "OK" 2 "キャンセル"
end

dialog AVIMIX "AVIファイルの合成"
  form
    row
      edit 32105 "映像ファイル" 56
      button 32305 "参照"
    end
    row
      edit 32106 "音声ファイル" 56
      button 32306 "参照"
    end
    edit 32100 "タイトル" 56
    edit 32101 "コメント" 56
    edit 32102 "著作権" 56
    row
      edit 32104 "出力ファイル" 56
      button 32304 "参照"
    end
  end
  buttons 1 "OK" 2 "キャンセル"
end
)text";
