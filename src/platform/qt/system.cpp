#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <QLibraryInfo>
#include <QScreen>
#include <QSocketNotifier>
#include <QTranslator>
#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "platform/qt/qt_window.h"

namespace {

/// What Qt says in another language. Its words for kinds of files are now asked for under another name than the one
/// that translators know.
struct WORDS : QTranslator {
    QString translate(const char* context, const char* text, const char* note, int n) const override {
        const QString found = QTranslator::translate(context, text, note, n);
        const bool moved = found.isNull() && std::strcmp(context, "QAbstractFileIconProvider") == 0;
        return moved ? QTranslator::translate("QFileDialog", text, note, n) : found;
    }
};

struct WINDOW_SYSTEM {
    std::string name;
    int argc = 1;
    char* argv[2] = {};
    std::unique_ptr<QApplication> app;
    std::unique_ptr<WORDS> words;
    bool visible = false;
    bool quit = false;
    int quit_code = 0;
};
/// Like the other tables of this folder it is never taken down by the end of the process: that comes after Qt's
/// plug-ins have gone, which the application would still call.
WINDOW_SYSTEM& window_system() {
    static auto* const the_system = new WINDOW_SYSTEM;
    return *the_system;
}

/// The platforms of Qt to try, in order. Under a display that cannot be reached the last one keeps Qt from ending the
/// process.
QByteArray platform_list() {
    const bool x11 = !qEnvironmentVariableIsEmpty("DISPLAY"), wayland = !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
    if (x11 && wayland) {
        // The same choice that Qt makes by itself.
        const bool wayland_first =
            qgetenv("XDG_SESSION_TYPE") == "wayland" && !qgetenv("XDG_CURRENT_DESKTOP").contains("GNOME");
        return wayland_first ? "wayland;xcb;offscreen" : "xcb;wayland;offscreen";
    }
    if (x11) return "xcb;offscreen";
    return wayland ? "wayland;offscreen" : "offscreen";
}

bool platform_is_invisible(const QByteArray& platform) {
    return platform.startsWith("offscreen") || platform.startsWith("minimal");
}

// ---- the end that is asked for from outside

std::atomic<int> signal_end{-1};  // of the pipe, for handlers; -1: no loop would read it

/// The pipe is made once and stays: a handler may be writing to it at any moment.
void signal_watch(QObject* parent) {
    static int ends[2] = {-1, -1};
    if (ends[0] < 0 && pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
    auto* watch = new QSocketNotifier(ends[0], QSocketNotifier::Read, parent);
    QObject::connect(watch, &QSocketNotifier::activated, [] {
        for (int code; read(ends[0], &code, sizeof code) == sizeof code;)
            if (!window_system().quit) window_quit(code);
    });
    signal_end = ends[1];
}

/// Without a display Qt's hints about the desktop are of no use to anybody.
void message_quiet(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtCriticalMsg || type == QtFatalMsg) std::fprintf(stderr, "%s\n", qUtf8Printable(text));
}

}  // namespace

static void resources_start() { Q_INIT_RESOURCE(icons); }

bool window_system_start(const char* name) {
    WINDOW_SYSTEM& s = window_system();
    if (s.app) return false;
    s.name = name;
    s.argv[0] = s.name.data();
    s.quit = false;
    const bool chosen = !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
    const QByteArray platforms = platform_list();
    if (!chosen) qputenv("QT_QPA_PLATFORM", platforms);
    if (platform_is_invisible(qgetenv("QT_QPA_PLATFORM"))) qInstallMessageHandler(message_quiet);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeMenuBar);  // its entries could not show our keys
    s.app = std::make_unique<QApplication>(s.argc, s.argv);
    if (!chosen) qunsetenv("QT_QPA_PLATFORM");  // programs that we start choose for themselves
    std::setlocale(LC_NUMERIC, "C");            // files are read and written with a decimal point
    s.visible = !platform_is_invisible(QGuiApplication::platformName().toUtf8());
    if (!chosen && !s.visible && platforms != "offscreen") {
        s.app.reset();
        return false;
    }
    QGuiApplication::setDesktopFileName(QString::fromUtf8(name));
    QGuiApplication::setQuitOnLastWindowClosed(false);
    resources_start();
    queue_start();
    signal_watch(s.app.get());
    desktop_watch(s.app.get());
    return true;
}

void window_system_language(const char* code) {
    WINDOW_SYSTEM& s = window_system();
    if (!s.app) return;
    s.words = std::make_unique<WORDS>();
    if (s.words->load(QStringLiteral("qtbase_") + QString::fromUtf8(code),
                      QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(s.words.get());
}

void window_system_stop() {
    WINDOW_SYSTEM& s = window_system();
    if (!s.app) return;
    signal_end = -1;
    window_table_clear();
    timer_clear();
    queue_stop();
    input_clear();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    picture_clear();
    s.app.reset();
    s.words.reset();
    qInstallMessageHandler(nullptr);
}

bool window_system_running() { return window_system().app != nullptr; }
bool window_system_visible() { return window_system().app && window_system().visible; }

int window_run() {
    WINDOW_SYSTEM& s = window_system();
    if (!s.app) return 0;
    if (!s.quit) QApplication::exec();
    s.quit = false;
    return s.quit_code;
}

void window_quit(int code) {
    WINDOW_SYSTEM& s = window_system();
    s.quit = true;
    s.quit_code = code;
    if (s.app) QCoreApplication::exit(code);
}

bool window_quit_from_signal(int code) {
    const int end = signal_end;
    return end >= 0 && write(end, &code, sizeof code) == sizeof code;
}

bool window_pump() {
    WINDOW_SYSTEM& s = window_system();
    if (!s.app) return false;
    // A message that always posts itself again must not keep the caller from its work for ever.
    constexpr int MESSAGES_AT_ONCE = 1000;
    for (int n = 0; n < MESSAGES_AT_ONCE; ++n) {
        QCoreApplication::processEvents();
        if (s.quit || !queue_handle_one()) break;
    }
    return !s.quit;
}

bool screen_holds(const RECT& frame) {
    for (const QScreen* screen : QGuiApplication::screens())
        if (screen->geometry().intersects(qt_rect(frame))) return true;
    return false;
}
RECT screen_desktop() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen ? rect_of(screen->geometry()) : RECT{};
}
