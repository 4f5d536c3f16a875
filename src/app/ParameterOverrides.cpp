#include "ParameterOverrides.h"

#include <corvane/model/Corvane.h>
#include <store/RegularFile.h>

#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

// A device in place of a file must not fill the memory.
constexpr qint64 maxFileSize = 64 * 1024 * 1024;

} // namespace

std::optional<ParameterOverrides> ParameterOverrides::read(const QString &path, QString &error)
{
    QString reason;
    bool isTooLarge = false;
    const auto text =
        store::readInput(path, {.file = maxFileSize, .stream = maxFileSize}, &reason, &isTooLarge);
    if (!text && !isTooLarge) {
        error = u"Error: cannot open params file %1\n  %2"_s.arg(path, reason);
        return std::nullopt;
    }
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(text.value_or(QByteArray()), &problem);
    if (isTooLarge || problem.error != QJsonParseError::NoError) {
        error = u"Error: invalid JSON in params file: "_s +
                (isTooLarge ? reason : problem.errorString());
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
