#include "resources/strings_ja.h"

#include <algorithm>

#include "resources/string_ids.h"

namespace {

constexpr STRING_TEXT STRINGS_JA[] = {
    // the language itself; an empty font name stands for the system's menu font
    {STR_LANGUAGE_NAME, "日本語"},
    {STR_LANGUAGE_DESCRIPTION, "標準の日本語リソース"},
    {STR_UI_FONT, ""},
    // short words
    {STR_DEFAULT, "デフォルト"},
    {STR_AUTOMATIC, "自動"},
    {STR_NONE, "なし"},
    {STR_SECONDS, "秒"},
    {STR_MINUTES, "分"},
    {STR_HOURS, "時間"},
    {STR_DEINTERLACE, "インターレース解除"},
    {STR_INTER_ODD, "奇数"},
    {STR_INTER_EVEN, "偶数"},
    {STR_INTER_DOUBLE, "二重化"},
    {STR_INTER_AUTO, "自動"},
    {STR_INTER_AUTO_24FPS, "自動24fps"},
    {STR_INTER_STANDARD, "標準"},
    {STR_INTER_REVERSE, "反転"},
    {STR_UNKNOWN, "不明"},
    {STR_PROGRESS_OUTPUT, "出力中"},
    {STR_PROGRESS_MEASURING, "計測中"},
    {STR_PROGRESS_SEARCH, "検索中"},
    {STR_PROGRESS_REMAINING, "残り時間"},
    {STR_CODEC_NO_RECOMPRESS, "再圧縮不可"},
    {STR_CODEC_UNCOMPRESSED, "未圧縮"},
    {STR_INFO_PICTURE_SIZE, "画像サイズ"},
    {STR_INFO_DURATION, "記録時間"},
    {STR_INFO_FRAME_RATE, "フレームレート"},
    {STR_INFO_FRAME_COUNT, "フレーム数"},
    {STR_INFO_VIDEO_CODEC, "ビデオ圧縮"},
    {STR_INFO_SAMPLE_RATE, "サンプリングレート"},
    {STR_INFO_CHANNELS, "チャンネル数"},
    {STR_INFO_AUDIO_FORMAT, "オーディオ形式"},
    // names of built-in filters, and first labels
    {STR_TRACK_LEVEL, "レベル"},
    {STR_FILTER_NORMALISE, "音量の最大化"},
    {STR_FILTER_SIZE, "サイズの変更"},
    {STR_FILTER_CLIP, "クリッピング＆リサイズ"},
    {STR_FILTER_RATE_CHANGE, "フレームレートの変更"},
    {STR_FILTER_RATE_SETTING, "フレームレートの設定"},
    {STR_FILTER_BLUR, "ぼかしフィルタ"},
    {STR_FILTER_NOISE, "ノイズ除去フィルタ"},
    {STR_FILTER_COLOR_IN, "色変換の設定"},
    {STR_FILTER_HISTOGRAM, "ヒストグラム"},
    {STR_FILTER_NOISE_TIME, "ノイズ除去(時間軸)フィルタ"},
    {STR_FILTER_SHARPEN, "シャープフィルタ"},
    {STR_FILTER_PLAY_WINDOW, "再生ウィンドウ"},
    {STR_FILTER_FIELD_ORDER, "フィールドオーダー"},
    {STR_FILTER_DEINTERLACE, "インターレースの解除"},
    {STR_FILTER_COLOR_EXTENDED, "拡張色調補正"},
    {STR_FILTER_COLOR, "色調補正"},
    {STR_FILTER_TOOL_WINDOW, "ツールウィンドウ"},
    {STR_FILTER_COLOR_OUT, "__COLOR_OUT"},
    {STR_INFO_READER, "ファイル制御"},
    {STR_INFO_VIDEO_FORMAT, "ビデオ展開形式"},
    {STR_FILTER_VOLUME, "音量の調整"},
    {STR_FILTER_AUDIO_POSITION, "音声の位置調整"},
    {STR_TRACK_POSITION, "位置"},
    {STR_FILTER_BORDER, "縁塗りつぶし"},
    // batch and output windows
    {STR_BATCH_END_NOTHING, "何もしない"},
    {STR_BATCH_END_SHUTDOWN, "ウィンドウズをシャットダウン"},
    {STR_BATCH_END_HIBERNATE, "ウィンドウズを休止"},
    {STR_BATCH_END_SUSPEND, "ウィンドウズをサスペンド"},
    {STR_BATCH_END_EXIT, "Vantelを終了"},
    {STR_TITLE_BATCH, "バッチ出力"},
    {STR_BATCH_NO_OUTPUT_NAME, "[出力ファイル名が指定されていません]"},
    {STR_TITLE_APPEND, "追加読み込み"},
    {STR_TITLE_OPEN_SOUND, "音声読み込み"},
    {STR_TITLE_PROJECT_OPEN, "プロジェクトを開く"},
    {STR_TITLE_PROJECT_SAVE, "プロジェクトを保存"},
    {STR_TITLE_SAVE_AVI, "AVI出力"},
    {STR_TITLE_SAVE_WAV, "WAV出力"},
    {STR_BATCH_END_EXIT_HIBERNATE, "Vantelを終了＆ウィンドウズを休止"},
    {STR_BATCH_END_EXIT_SUSPEND, "Vantelを終了＆ウィンドウズをサスペンド"},
    // labels of built-in filters; filter records take numbers below 256 only
    {STR_TRACK_STRENGTH, "強さ"},
    {STR_TRACK_RANGE, "範囲"},
    {STR_TRACK_THRESHOLD, "しきい値"},
    {STR_TRACK_LOWER_LIMIT, "下限値"},
    {STR_TRACK_UPPER_LIMIT, "上限値"},
    {STR_TRACK_BRIGHTNESS, "明るさ"},
    {STR_TRACK_CONTRAST, "ｺﾝﾄﾗｽﾄ"},
    {STR_TRACK_GAMMA, "ガンマ"},
    {STR_TRACK_LUMA, "輝度"},
    {STR_TRACK_SATURATION, "色の濃さ"},
    {STR_TRACK_HUE, "色合い"},
    {STR_TRACK_Y_OFFSET, "Y(offs)"},
    {STR_TRACK_Y_GAIN, "Y(gain)"},
    {STR_TRACK_CB_OFFSET, "Cb(offs)"},
    {STR_TRACK_CB_GAIN, "Cb(gain)"},
    {STR_TRACK_CR_OFFSET, "Cr(offs)"},
    {STR_TRACK_CR_GAIN, "Cr(gain)"},
    {STR_TRACK_R_OFFSET, "R(offs)"},
    {STR_TRACK_R_GAIN, "R(gain)"},
    {STR_TRACK_R_GAMMA, "R(gamm)"},
    {STR_TRACK_G_OFFSET, "G(offs)"},
    {STR_TRACK_G_GAIN, "G(gain)"},
    {STR_TRACK_G_GAMMA, "G(gamm)"},
    {STR_TRACK_B_OFFSET, "B(offs)"},
    {STR_TRACK_B_GAIN, "B(gain)"},
    {STR_TRACK_B_GAMMA, "B(gamm)"},
    {STR_CHECK_RGB_SYNC, "RGBの同期"},
    {STR_CHECK_TV_TO_PC, "TV -> PC スケール補正"},
    {STR_CHECK_PC_TO_TV, "PC -> TV スケール補正"},
    {STR_TRACK_TOP, "上"},
    {STR_TRACK_BOTTOM, "下"},
    {STR_TRACK_LEFT, "左"},
    {STR_TRACK_RIGHT, "右"},
    {STR_CHECK_CENTER, "中央に配置"},
    {STR_CHECK_EDGE_COLOR, "縁の色で塗る"},
    {STR_CHECK_KEEP_ASPECT, "元の縦横比に合せる"},
    {STR_SIZE_GIVEN, "指定サイズ"},
    {STR_CHECK_INTERPOLATE, "位置補間"},
    {STR_CHECK_ADAPTIVE, "適合補間"},
    {STR_CHECK_BLEND_STRIPES, "横縞部分を二重化"},
    {STR_RATE_24_FROM_30, "24fps <- 30fps  (4/5)"},
    {STR_RATE_20_FROM_30, "20fps <- 30fps  (2/3)"},
    {STR_RATE_15_FROM_30, "15fps <- 30fps  (1/2)"},
    {STR_RATE_12_FROM_30, "12fps <- 30fps  (2/5)"},
    {STR_RATE_10_FROM_30, "10fps <- 30fps  (1/3)"},
    {STR_RATE_AUTO_24_DECIMATION, "24fps<-30fpsの間引きには自動24fpsの処理を使う"},
    {STR_ORDER_BOTTOM_FIRST, "ボトムフィールド -> トップフィールド"},
    {STR_ORDER_TOP_FIRST, "トップフィールド -> ボトムフィールド"},
    {STR_COLOR_HEAD_INPUT, "[ 入力 ]"},
    {STR_COLOR_HEAD_OUTPUT, "[ 出力 ]"},
    // messages
    {STR_ERR_READ_FAILED, "ファイルの読み込みに失敗しました。"},
    {STR_ERR_WRITE_FAILED,
     "ファイルの書き込みに失敗しました。\n"
     "\n"
     "ディスクの空き容量が足りないか\n"
     "作成できるファイルサイズの上限を超えた可能性があります。"},
    {STR_ERR_CREATE_FAILED, "ファイルの作成に失敗しました。"},
    {STR_ERR_UNSUPPORTED_FILE, "このファイルには対応していません。"},
    {STR_ASK_SOURCE_MISSING, "使用されていたファイルが見つからないか変更されています。\n別のファイルを指定しますか？"},
    {STR_ERR_TOO_MANY_SOURCES, "同時に読み込めるファイルは%d個までです。"},
    {STR_ERR_PICTURE_TOO_LARGE,
     "%dx%dを超える画像サイズのファイルは編集できません。\n\n最大画像サイズはシステムの設定で変更出来ます。"},
    {STR_ERR_PICTURE_TOO_SMALL, "%dx%dより小さい画像サイズのファイルは編集できません。"},
    {STR_ERR_TOO_MANY_FRAMES,
     "編集できる最大フレーム数は%dフレームまでです。\n\n最大フレーム数はシステムの設定で変更出来ます。"},
    {STR_ASK_RECOMPRESS_FRAME, "再圧縮するフレームがありますがよろしいですか？\n\n※フレーム%d%s。"},
    {STR_ERR_TOO_MANY_JOBS, "バッチ登録は最大%d個までです。"},
    {STR_COPY_FORMAT_DIFFERS, "の画像フォーマットが違う"},
    {STR_COPY_SIZE_DIFFERS, "の画像サイズが違う"},
    {STR_COPY_NO_KEY_FRAME, "がキーフレームから続いていない"},
    {STR_COPY_DOUBLE_RATE, "が60fps化モードで読み込まれている"},
    {STR_ERR_OUTPUT_IS_EDITED, "編集しているファイルへの上書きは出来ません。"},
    {STR_ERR_VIDEO_COMPRESS,
     "ビデオ圧縮に失敗しました。\n"
     "\n"
     "画像サイズやフレームレートを適正に設定しないと\n"
     "使用出来ないコーデックの可能性があります。"},
    {STR_ERR_AUDIO_COMPRESS, "オーディオ圧縮に失敗しました。\n\n使用出来ないコーデックの可能性があります。"},
    {STR_ASK_STOP_OUTPUT, "出力を中断しますか？"},
    {STR_ASK_STOP_SEARCH, "検索を中断しますか？"},
    {STR_INFO_NOTHING, "ありません。"},
    {STR_INFO_NOT_IN_USE, "使用されていません。"},
    {STR_ERR_PROFILE_NAME, "プロファイル名に以下の文字は使えません。\n\n%s"},
    {STR_ERR_OUTPUT_IS_INPUT, "入力ファイルへの上書きは出来ません。"},
    {STR_ERR_TOO_MANY_CHAIN_FILES, "連結できるファイルは最大%d個までです。"},
    {STR_ASK_CHAIN_DIFFERS, "再圧縮しないと正常なファイルが作成されない可能性がありますがよろしいですか？"},
    {STR_ERR_NO_OUTPUT_PLUGIN, "出力プラグインが見つかりません。"},
    {STR_TITLE_FILE_INFO, "ファイルの情報"},
    {STR_TITLE_FILTER_INFO, "プラグインフィルタ情報"},
    {STR_TITLE_INPUT_INFO, "入力プラグイン情報"},
    {STR_TITLE_OUTPUT_INFO, "出力プラグイン情報"},
    {STR_TITLE_OVERLAY_INFO, "オーバーレイ情報"},
    {STR_TITLE_VERSION, "バージョン情報"},
    {STR_TITLE_LANGUAGE_INFO, "言語拡張リソース情報"},
    {STR_ERR_OUT_OF_MEMORY, "メモリが足りません。"},
    {STR_BATCH_SOME_FAILED, "出力に失敗したファイルがあります"},
    {STR_ASK_DELETE_ALL, "すべて削除しますがよろしいですか？"},
    {STR_ERR_OPEN_FAILED,
     "ファイルの読み込みに失敗しました。\n"
     "\n"
     "このファイル形式には対応していないか\n"
     "対応するコーデックやプラグインが\n"
     "登録されていない可能性があります。"},
    {STR_ERR_OUTPUT_FAILED, "ファイルの出力に失敗しました。"},
    {STR_BATCH_PRESS_START, "[開始]ボタンを押すとバッチ出力を開始します"},
    {STR_BATCH_ALL_DONE, "すべて正常に終了しました"},
    {STR_BATCH_RUNNING, "\"%s\"を出力中です"},
    {STR_BATCH_WAITING_OTHER, "他のプロセスでの出力終了を待っています"},
    {STR_TITLE_COLOR_INFO, "色変換プラグイン情報"},
    {STR_ERR_KEY_TWICE, "複数の操作が同じショートカットキーに割り当てられています\n\n%s\n%s\n"},
    {STR_ASK_DISCARD_EDIT, "現在の編集データは破棄されますがよろしいですか？"},
    // boxes and file dialogs
    {STR_PROGRAM, "Vantel"},
    {STR_VERSION, "Vantel version %s"},
    {STR_ERR_TOO_MANY_PROFILES, "環境は%d個までです。"},
    {STR_TITLE_EXCEPTION, "Vantel : Application Exception"},
    {STR_ASK_EXCEPTION,
     "アドレス\"0x%08llx\"で例外\"0x%08x\"が発生しました\n"
     "\n"
     "発生モジュール : %s\n"
     "備考 : %s [%s]\n"
     "\n"
     "正常な動作が出来ない可能性がありますが処理を継続しますか？"},
    {STR_EXCEPTION_MODULE, "%s\nオフセットアドレス : 0x%08llx"},
    {STR_EXCEPTION_MODULE_UNKNOWN, "Unknown"},
    {STR_FILES_AVI, "AviFile (*.avi)"},
    {STR_FILES_WAV, "WaveFile (*.wav)"},
    {STR_FILES_PROJECT, "ProjectFile (*.vtp)"},
    {STR_FILES_TEXT, "TextFile (*.txt)"},
    {STR_FILES_ALL, "AllFile (*.*)"},
    {STR_FILES_VIDEO, "VideoFile"},
    {STR_FILES_AUDIO, "AudioFile"},
    {STR_SUFFIX_SETTING, "の設定"},
    {STR_SUFFIX_SHOW, "の表示"},
    {STR_INFO_SURFACE, "Surface Type : %c%c%c%c\nSurface Size : %d x %d"},
    {STR_JOB_RUNNING, "-> %s"},
    {STR_JOB_DONE, "○ %s"},
    {STR_JOB_FAILED, "× %s"},
    {STR_FRAME_CLIP, "[clip]"},
    {STR_FRAME_KEY, "[key]"},
    {STR_FRAME_MARK, "[mark]"},
    {STR_FRAME_DROP, "[del]"},
    {STR_FRAME_COPY, "[copy]"},
    // command line and standard error
    {STR_CLI_HELP,
     "使い方: vantel [ファイル] [オプション]\n"
     "\n"
     "ファイル\n"
     "  動画、音声、静止画のファイル  開いて編集する\n"
     "  プロジェクト (.vtp)           編集プロジェクトを開く\n"
     "  スクリプト (.vts)             1行を1つのコマンドラインとして順に実行する\n"
     "                                空白を含む名前は\"で囲む。入れ子は16段まで\n"
     "\n"
     "オプション\n"
     "  -a ファイル    音声ファイルを読み込む\n"
     "  -o ファイル    AVIファイルに出力する\n"
     "  -oa ファイル   -o と同じ\n"
     "  -ow ファイル   WAVファイルに出力する\n"
     "  -op ファイル   出力プラグインで出力する\n"
     "  -p 名前        プロファイルを選ぶ\n"
     "  -q             処理が終わったらプログラムを終了する\n"
     "                 確認のボックスは出さず、質問はキャンセルとして扱う\n"
     "  -rN[,M]        表示上の番号でNからMまでのフレームを選択する\n"
     "                 Mを省くと終わりは変わらない\n"
     "  --help         この説明を表示して終了する\n"
     "  --version      バージョンを表示して終了する\n"
     "\n"
     "オプションは - で始まり、-a から -r までの文字は大文字でも小文字でもよい。\n"
     "オプションと値の間の空白は省略できる。/ で始まるものはパスとして扱う。\n"
     "- で始まる名前のファイルは ./ を付けて指定する。\n"
     "書いた順序によらず、プロファイル、ファイル、音声、選択範囲、出力の順に処理する。\n"
     "\n"
     "Ctrl+C を押すと出力を中断する。そこまでの短い、正しいファイルが残る。\n"
     "\n"
     "終了ステータス\n"
     "  0  指定したことがすべて終わった\n"
     "  1  それ以外\n"},
    {STR_CLI_UNKNOWN_OPTION, "オプション「%s」は不明です。--help で説明を表示します。"},
    {STR_CLI_NO_VALUE, "オプション「%s」には値が必要です。"},
    {STR_CLI_BAD_RANGE, "-r の値「%s」は正しくありません。-r10 または -r10,200 のように指定してください。"},
    {STR_CLI_OPTION_TWICE, "オプション「%s」が2回指定されています。"},
    {STR_CLI_FILE_TWICE, "ファイルが2つ指定されています: %s"},
    {STR_CLI_PATH_TOO_LONG, "%s: パスが長すぎます。%dバイトまでのパスを指定してください。"},
    {STR_CLI_SCRIPT_TOO_DEEP, "%s: スクリプトの入れ子は%d段までです。"},
    {STR_CLI_SCRIPT_LINE, "%s: %d行目: %s"},
    {STR_CLI_NO_PROFILE, "プロファイル「%s」はありません。"},
    {STR_CLI_OPEN_FAILED, "%s: ファイルを開けません: %s"},
    {STR_CLI_REASON_MISSING, "ファイルが見つかりません"},
    {STR_CLI_REASON_FOLDER, "フォルダです"},
    {STR_CLI_REASON_NOT_REGULAR, "通常のファイルではありません"},
    {STR_CLI_REASON_UNREADABLE, "読み取る許可がありません"},
    {STR_CLI_REASON_EMPTY, "ファイルが空です"},
    {STR_CLI_REASON_FORMAT, "対応していない形式か、壊れています"},
    {STR_CLI_NOTHING_TO_WRITE, "%s: 出力するものがありません。"},
    {STR_CLI_NO_FILE_OPEN, "ファイルが開かれていないため、オプション「%s」は実行できません。"},
    {STR_CLI_OUTPUT_STOPPED, "%s: 出力を中断しました。%dフレームまで書き込まれています。"},
    {STR_CLI_SAVED, "%s: %dフレームを出力しました (%.1ffps)。"},
    {STR_CLI_SAVED_AUDIO, "%s: 音声を出力しました (%.1f倍速)。"},
    {STR_CLI_FILE_FAILED, "%s: %s"},
    {STR_CLI_WARNING, "警告: %s"},
    {STR_CLI_QUESTION_REFUSED, "%s\n(キャンセルとして扱いました)"},
    {STR_CLI_SETTINGS_NOT_SAVED, "%s: 設定を保存できません。"},
    {STR_CLI_FATAL_MEMORY, "メモリが足りないため起動できません。"},
    {STR_CLI_FATAL_START, "起動できません: %s"},
    {STR_CLI_NO_DISPLAY, "ディスプレイがないため、ウィンドウを開けません。--help でコマンドラインの説明を表示します。"},
    {STR_CLI_NO_WINDOW, "ウィンドウを作成できないため起動できません。"},
    // words of dialogs
    {STR_TEXT_TOO_LONG, "「%s」は長すぎます。%dバイトまで入力できます。"},
    {STR_UNIT_FPS, "fps"},
    {STR_LOAD_RATE_KEEP, "fps変換無し"},
    {STR_PROFILE_TITLE, "新しいプロファイル"},
    {STR_VIDEO_CODEC_ABOUT, "バージョン情報"},
    // words of menus
    {STR_MENU_FILTER_TOGGLE, "フィルタのON/OFF切替え"},
    {STR_MENU_GO_TO, "指定のフレームに移動"},
    {STR_MENU_NEXT_FRAME, "次のフレームに移動"},
    {STR_MENU_PREVIOUS_FRAME, "前のフレームに移動"},
    {STR_MENU_SET_START, "選択開始フレームにする"},
    {STR_MENU_SET_END, "選択終了フレームにする"},
};

constexpr bool string_number_less(const STRING_TEXT& a, const STRING_TEXT& b) { return a.number < b.number; }
static_assert(std::adjacent_find(std::begin(STRINGS_JA), std::end(STRINGS_JA),
                                 [](const STRING_TEXT& a, const STRING_TEXT& b) {
                                     return !string_number_less(a, b);
                                 }) == std::end(STRINGS_JA),
              "numbers rise and stand once");

}  // namespace

std::span<const STRING_TEXT> strings_ja() { return STRINGS_JA; }

std::string_view strings_ja_find(int number) {
    const STRING_TEXT key{number, {}};
    const auto* entry = std::lower_bound(std::begin(STRINGS_JA), std::end(STRINGS_JA), key, string_number_less);
    return entry != std::end(STRINGS_JA) && entry->number == number ? entry->text : std::string_view();
}
