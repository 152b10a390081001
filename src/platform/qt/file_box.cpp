#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QGridLayout>
#include <QHeaderView>
#include <QLineEdit>
#include <QRegularExpression>
#include <QTreeView>
#include <QVBoxLayout>

#include "platform/qt/qt_control.h"

namespace {

constexpr qsizetype PATTERNS_SHOWN = 60;  // characters; longer lists of patterns are not shown behind the name

/// "*.avi;*.vts" as the toolkit has it. Its "*.*" would leave out names without a point.
QString filter_patterns(const FILE_FILTER& filter) {
    QStringList patterns = qt_text(filter.patterns).split(';', Qt::SkipEmptyParts);
    patterns.replaceInStrings(QRegularExpression("^\\s*\\*\\.\\*\\s*$"), "*");
    return patterns.isEmpty() ? QString("*") : patterns.join(' ');
}
QString filter_line(const FILE_FILTER& filter) {
    QString name = qt_text(filter.name);
    name.remove(QRegularExpression("\\s*\\([^()]*\\)\\s*$"));
    return name + " (" + filter_patterns(filter) + ')';
}

/// The toolkit's dialog, telling the procedure of the options when it has been answered.
struct FILE_FRAME : QFileDialog {
    WINDOW* window = nullptr;
    DIALOG_PROC proc = nullptr;
    void* data = nullptr;
    bool told = false;
    using QFileDialog::QFileDialog;

  protected:
    /// To open, a name without a point is meant as it stands when there is such a file.
    void accept() override {
        const auto* typed = findChild<QLineEdit*>("fileNameEdit");
        const QString suffix = defaultSuffix();
        if (acceptMode() == AcceptOpen && typed && directory().exists(typed->text())) setDefaultSuffix({});
        QFileDialog::accept();
        setDefaultSuffix(suffix);
    }
    void done(int result) override {
        const uintptr_t id = result == QDialog::Accepted ? ID_OK : ID_CANCEL;
        if (window_exists(window) && !std::exchange(told, true)) window_call(window, WM_COMMAND, id, 0);
        QFileDialog::done(result);
    }
};

/// Presses the dialog's own button, so that the name is looked at as usual: behind what waits, since the procedure that
/// asks for it still runs. When the answer is already on its way there is nothing left to do.
void file_answer(FILE_FRAME* frame, int result) {
    if (!frame->told) QMetaObject::invokeMethod(frame, result == ID_OK ? "accept" : "reject", Qt::QueuedConnection);
}

/// Answers of any kind go through the dialog, which tells them to the procedure once.
intptr_t file_procedure(WINDOW* window, uint32_t message, uintptr_t wparam, intptr_t lparam, void* data) {
    auto* frame = static_cast<FILE_FRAME*>(data);
    if (message == WM_COMMAND && (wparam == ID_OK || wparam == ID_CANCEL) && !frame->told) {
        file_answer(frame, int(wparam));
        return 1;
    }
    return frame->proc ? frame->proc(window, message, wparam, lparam, frame->data) : 0;
}
WINDOW* file_enter(WINDOW* owner, QWidget* panel, FILE_FRAME* frame) {
    frame->setWindowModality(Qt::ApplicationModal);
    const auto answer = [frame](int result) { file_answer(frame, result); };
    frame->window = dialog_enter(owner, panel, frame, {file_procedure, frame, answer, true});
    return frame->window;
}

void file_set_filters(QFileDialog* frame, const FILE_BOX& box) {
    QStringList lines;
    bool tell_patterns = true;
    for (const FILE_FILTER& filter : box.filters) {
        lines += filter_line(filter);
        if (lines.back().size() > PATTERNS_SHOWN) tell_patterns = false;
    }
    if (lines.isEmpty()) return;
    frame->setOption(QFileDialog::HideNameFilterDetails, !tell_patterns);
    frame->setNameFilters(lines);
    if (box.filter >= 0 && box.filter < lines.size()) frame->selectNameFilter(lines[box.filter]);
}

void file_set_up(QFileDialog* frame, const FILE_BOX& box) {
    frame->setAcceptMode(box.save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    frame->setFileMode(box.save      ? QFileDialog::AnyFile
                       : box.several ? QFileDialog::ExistingFiles
                                     : QFileDialog::ExistingFile);
    frame->setOption(QFileDialog::DontConfirmOverwrite, !box.ask_overwrite);
    if (!box.title.empty()) frame->setWindowTitle(qt_text(box.title));
    file_set_filters(frame, box);
    QString extension = qt_text(box.extension);
    if (extension.startsWith('.')) extension.remove(0, 1);
    frame->setDefaultSuffix(extension);
    if (!box.folder.empty()) frame->setDirectory(qt_text(box.folder));
    if (!box.name.empty()) frame->selectFile(qt_text(box.name));
}

/// The options on a panel below the toolkit's own rows.
QWidget* file_panel(QFileDialog* frame) {
    auto* panel = new QWidget(frame);
    if (auto* grid = qobject_cast<QGridLayout*>(frame->layout()))
        grid->addWidget(panel, grid->rowCount(), 0, 1, grid->columnCount());
    return panel;
}
void file_fill_panel(WINDOW* window, QWidget* panel, const DIALOG_TEMPLATE& options) {
    auto* column = new QVBoxLayout(panel);
    column->setContentsMargins(0, 0, 0, 0);
    controls_lay_out(window, panel, column, options.lines);
    if (options.buttons.empty()) return;
    auto* row = new QHBoxLayout;
    column->addLayout(row);
    for (const CONTROL_LINE& line : options.buttons)
        if (const WINDOW* button = control_make(window, panel, line)) row->addWidget(button->widget);
    row->addStretch(1);
}

/// The dates of the files are cut in most languages: room for them in the list, and in the window for the list.
void file_make_room(QFileDialog* frame) {
    constexpr int DATE = 3, CHARS = 120, ROWS = 32;
    const QFontMetrics font = frame->fontMetrics();
    if (const auto* list = frame->findChild<QTreeView*>("treeView")) {
        const QString now = QLocale::system().toString(QDateTime::currentDateTime(), QLocale::ShortFormat);
        const int room = font.horizontalAdvance(now + "0000");
        if (list->header()->sectionSize(DATE) < room) list->header()->resizeSection(DATE, room);
    }
    frame->resize(frame->sizeHint().expandedTo({CHARS * font.averageCharWidth(), ROWS * font.lineSpacing()}));
}

/// Shows it until it is answered. It ends with its window, or else here.
std::vector<std::string> file_wait(FILE_FRAME* frame) {
    std::vector<std::string> paths;
    QObject::connect(frame, &QDialog::finished, [&paths, frame](int result) {
        paths.clear();
        if (result != QDialog::Accepted) return;
        for (const QString& path : frame->selectedFiles()) paths.push_back(path.toStdString());
    });
    WINDOW* window = frame->window;
    file_make_room(frame);
    frame->show();
    dialog_wait(frame, window);
    window_destroy(window);
    return paths;
}

}  // namespace

std::vector<std::string> file_box(WINDOW* owner, const FILE_BOX& box) {
    if (!window_system_running()) return {};
    auto* frame = new FILE_FRAME(frame_of(owner));
    // Only the toolkit's own dialog has room for a panel.
    frame->setOption(QFileDialog::DontUseNativeDialog, box.options != nullptr);
    file_set_up(frame, box);
    QWidget* panel = box.options ? file_panel(frame) : frame;
    file_enter(owner, panel, frame);
    if (box.options) file_fill_panel(frame->window, panel, *box.options);
    frame->proc = box.proc;
    frame->data = box.data;
    window_call(frame->window, WM_INITDIALOG, 0, reinterpret_cast<intptr_t>(box.data));
    return file_wait(frame);
}

std::string folder_box(WINDOW* owner, const std::string& title, const std::string& start) {
    if (!window_system_running()) return {};
    auto* frame = new FILE_FRAME(frame_of(owner));
    frame->setFileMode(QFileDialog::Directory);
    frame->setOption(QFileDialog::ShowDirsOnly);
    if (!title.empty()) frame->setWindowTitle(qt_text(title));
    if (!start.empty()) frame->setDirectory(qt_text(start));
    file_enter(owner, frame, frame);
    const std::vector<std::string> paths = file_wait(frame);
    if (paths.empty()) return {};
    return paths.front().ends_with('/') ? paths.front() : paths.front() + '/';
}
