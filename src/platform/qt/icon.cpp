#include <QFile>
#include <QIcon>

#include "platform/qt/qt_window.h"

QIcon program_icon(const char* name) {
    const QString path = QStringLiteral(":/icons/%1.svg").arg(QString::fromUtf8(name));
    return QFile::exists(path) ? QIcon(path) : QIcon();
}
