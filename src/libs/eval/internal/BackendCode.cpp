#include <eval/internal/BackendCode.h>

#include <QMap>
#include <QMutex>
#include <QMutexLocker>

namespace eval::internal {

namespace {

struct Generators
{
    QMutex mutex;
    QMap<Backend, QSharedPointer<const CodeGenerator>> byBackend;
};

Generators &generators()
{
    static Generators instance;
    return instance;
}

} // namespace

BackendCode::~BackendCode() = default;

CodeGenerator::~CodeGenerator() = default;

void setCodeGenerator(Backend backend, QSharedPointer<const CodeGenerator> generator)
{
    Generators &all = generators();
    const QMutexLocker lock(&all.mutex);
    all.byBackend.insert(backend, generator);
}

QSharedPointer<const CodeGenerator> codeGenerator(Backend backend)
{
    Generators &all = generators();
    const QMutexLocker lock(&all.mutex);
    return all.byBackend.value(backend);
}

} // namespace eval::internal
