#include <corvane/zirn/SetAside.h>

#include <QFile>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

QString setAside(const QString &path)
{
    constexpr int mostAttempts = 1000;
    for (int attempt = 1; attempt <= mostAttempts; ++attempt) {
        const QString name =
            path + u".damaged"_s + (attempt == 1 ? QString() : u"-%1"_s.arg(attempt));
        if (!QFile::exists(name))
            return QFile::rename(path, name) ? name : QString();
    }
    return {};
}

} // namespace corvane::zirn
