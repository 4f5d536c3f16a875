#pragma once

#include <corvane/check/Findings.h>
#include <corvane/yaml/YamlParser.h>

namespace corvane::check {

/// Warns of what the indentation of a file makes of it: lines that belong to no key, keys that
/// stand twice, tabs, lists that do not end.
void checkLayout(const QList<yaml::YamlParser::Remark> &remarks, Findings &findings);

/// Warns of what the readers have dropped on their own account, in their words. References that
/// name nothing are left out: GraphCheck tells them with their place and the name that was meant.
void checkReaderWarnings(const QStringList &warnings, Findings &findings);

} // namespace corvane::check
