#include <corvane/shader/ShaderTemplates.h>

#include <QFile>
#include <QHash>
#include <QLoggingCategory>
#include <QMutex>

namespace corvane::shader {

using namespace Qt::StringLiterals;

Q_LOGGING_CATEGORY(lcTemplates, "ondrel.shader.templates", QtWarningMsg)

namespace {

constexpr auto includeBegin = "// {{include "_L1;
constexpr auto includeEnd = "}}\n"_L1;
/// Pieces include pieces, but a piece that includes itself has to end somewhere.
constexpr int maxIncludeDepth = 4;

QString readResource(const QString &name)
{
    const QLatin1StringView folder = name.contains(u'/') ? ":/"_L1 : ":/templates/"_L1;
    QFile file(folder + name);
    if (!file.open(QIODevice::ReadOnly)) {
        qCWarning(lcTemplates).noquote() << "ShaderTemplates: could not open" << file.fileName();
        return {};
    }
    return QString::fromUtf8(file.readAll());
}

QString expanded(const QString &text, int depth)
{
    QString result;
    qsizetype copied = 0;
    qsizetype at = depth < maxIncludeDepth ? text.indexOf(includeBegin) : -1;
    while (at >= 0) {
        const qsizetype nameAt = at + includeBegin.size();
        const qsizetype end = text.indexOf(includeEnd, nameAt);
        if (end < 0)
            break;
        result += QStringView(text).mid(copied, at - copied);
        result += expanded(readResource(text.mid(nameAt, end - nameAt)), depth + 1);
        copied = end + includeEnd.size();
        at = text.indexOf(includeBegin, copied);
    }
    result += QStringView(text).mid(copied);
    return result;
}

} // namespace

QString ShaderTemplates::load(const QString &name)
{
    static QMutex mutex;
    static QHash<QString, QString> loaded;
    const QMutexLocker lock(&mutex);
    const auto known = loaded.constFind(name);
    if (known != loaded.cend())
        return *known;
    return *loaded.insert(name, expanded(readResource(name), 0));
}

QString ShaderTemplates::withIncludes(const QString &text)
{
    return expanded(text, 0);
}

QString ShaderTemplates::fill(const QString &text, const QList<Filling> &fillings)
{
    QMap<qsizetype, const Filling *> holes;
    for (const Filling &filling : fillings) {
        const qsizetype at = text.indexOf(filling.hole);
        if (at >= 0)
            holes.insert(at, &filling);
    }
    QString result;
    qsizetype copied = 0;
    for (auto hole = holes.cbegin(); hole != holes.cend(); ++hole) {
        result += QStringView(text).mid(copied, hole.key() - copied);
        result += hole.value()->text;
        copied = hole.key() + hole.value()->hole.size();
    }
    result += QStringView(text).mid(copied);
    return result;
}

} // namespace corvane::shader
