#include "ParameterOverrides.h"

#include <corvane/model/Corvane.h>

#include <QFile>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

// A device in place of a file must not fill the memory.
constexpr qint64 maxFileSize = 64 * 1024 * 1024;

} // namespace

std::optional<ParameterOverrides> ParameterOverrides::read(const QString &path, QString &error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        error = u"Error: cannot open params file "_s + path;
        return std::nullopt;
    }
    const QByteArray text = file.read(maxFileSize + 1);
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(text.left(maxFileSize), &problem);
    if (text.size() > maxFileSize || problem.error != QJsonParseError::NoError) {
        const QString reason =
            text.size() > maxFileSize ? u"it is larger than 64 MiB"_s : problem.errorString();
        error = u"Error: invalid JSON in params file: "_s + reason;
        return std::nullopt;
    }
    if (!document.isObject()) {
        error = u"Error: params file must contain a JSON object"_s;
        return std::nullopt;
    }
    ParameterOverrides overrides;
    overrides.m_values = document.object();
    return overrides;
}

void ParameterOverrides::applyTo(corvane::model::Corvane &scene) const
{
    const QMap<QString, corvane::model::VarsetEntry> declared = scene.varsetEntries();
    for (auto it = m_values.begin(); it != m_values.end(); ++it) {
        const QVariant value = it.value().toVariant();
        corvane::model::VarsetEntry entry = declared.value(it.key());
        if (declared.contains(it.key()) && entry.value == value)
            continue;
        entry.value = value;
        scene.setVariableEntry(it.key(), entry);
    }
}
