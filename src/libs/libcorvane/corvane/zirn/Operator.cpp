#include <corvane/zirn/Operator.h>

using namespace Qt::StringLiterals;

namespace corvane::zirn {

QLatin1StringView operatorTypeWord(OperatorType type)
{
    switch (type) {
    case OperatorType::Steward:
        return "steward"_L1;
    case OperatorType::Directive:
        return "directive"_L1;
    case OperatorType::Llm:
        return "llm"_L1;
    }
    return "unknown"_L1;
}

} // namespace corvane::zirn
