#include <QProcess>
#include <QStandardPaths>

#include "platform/qt/qt_control.h"

void sound_play(const std::string& path) {
    if (path.empty()) return;
    for (const char* player : {"pw-play", "paplay", "aplay"}) {
        const QString program = QStandardPaths::findExecutable(player);
        if (program.isEmpty()) continue;
        QProcess process;
        process.setProgram(program);
        process.setArguments({qt_text(path)});
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
        process.startDetached();
        return;
    }
}
