#include <corvane/model/SceneMigrator.h>

using namespace Qt::StringLiterals;

namespace corvane::model {

int SceneMigrator::detectVersion(const QVariantMap &file)
{
    bool isNumber = false;
    const int version = file.value(u"formatVersion"_s).toInt(&isNumber);
    return isNumber ? version : 1;
}

} // namespace corvane::model
