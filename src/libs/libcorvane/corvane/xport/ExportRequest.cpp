#include <corvane/xport/ExportRequest.h>

namespace corvane::xport {

ExportResult ExportResult::failed(const QString &message)
{
    ExportResult result;
    result.errorMessage = message;
    return result;
}

} // namespace corvane::xport
