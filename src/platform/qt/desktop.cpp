#include <QApplication>
#include <QStyle>
#include <algorithm>
#include <csignal>
#include <utility>

#include "platform/qt/qt_window.h"
#include "platform/window_draw.h"

namespace {

constexpr const char* BOX_CLASSES[] = {"QCheckBox", "QRadioButton"};

/// The style Fusion outlines them in a shade below the window's colour, which a dark window swallows. It uses that
/// colour of theirs for nothing else, so they get one on the way to the text's.
void box_outline() {
    QPalette palette = QApplication::palette();
    for (const auto group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled}) {
        const QColor window = palette.color(group, QPalette::Window), text = palette.color(group, QPalette::WindowText);
        const auto between = [](int from, int to) { return from + (to - from) * 3 / 4; };
        if (theme_dark())
            palette.setColor(group, QPalette::Window,
                             QColor(between(window.red(), text.red()), between(window.green(), text.green()),
                                    between(window.blue(), text.blue())));
    }
    for (const char* name : BOX_CLASSES) QApplication::setPalette(palette, name);
}

/// Colours that the desktop chose for them are left alone.
bool box_outline_wanted() {
    return QApplication::style()->name().compare("fusion", Qt::CaseInsensitive) == 0 &&
           std::ranges::all_of(BOX_CLASSES,
                               [](const char* name) { return QApplication::palette(name) == QApplication::palette(); });
}

struct DESKTOP_WATCH : QObject {
    bool outlines = box_outline_wanted();
    explicit DESKTOP_WATCH(QApplication* app) : QObject(app) {
        if (outlines) box_outline();
        app->installEventFilter(this);
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (watched != parent()) return false;
        // Their own new colours are told here as well.
        if (event->type() == QEvent::ApplicationPaletteChange && std::exchange(outlines, false)) {
            box_outline();
            outlines = true;
        }
        // The session ends. Qt would ask the windows to close, and these their user; nobody waits for an answer.
        return event->type() == QEvent::Quit && raise(SIGTERM) == 0;
    }
};

}  // namespace

void desktop_watch(QApplication* app) { new DESKTOP_WATCH(app); }
