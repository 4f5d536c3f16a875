#include <eval/internal/BackendCode.h>

#include <eval/internal/CompiledProgram.h>
#include <eval/internal/native/NativeBackend.h>

#include <QMap>
#include <QMutex>
#include <QMutexLocker>

namespace eval::internal {

namespace {

struct Generators
{
    QMutex mutex;
    QMap<Backend, QSharedPointer<const CodeGenerator>> byBackend = {
        {Backend::Native, QSharedPointer<NativeBackend>::create()}};
};

Generators &generators()
{
    static Generators instance;
    return instance;
}

} // namespace

BackendCode::~BackendCode() = default;

bool BackendCode::runRow(std::span<const float>, float, float, std::span<float>,
                         const std::atomic_bool *) const
{
    return false;
}

bool BackendCode::runPoints(std::span<const float>, std::span<const float>, std::span<const float>,
                            std::span<float>, const std::atomic_bool *) const
{
    return false;
}

std::optional<QString> BackendCode::runGrid(const GridNodes &, std::span<float>,
                                            const std::atomic_bool *) const
{
    return std::nullopt;
}

OutputForm BackendCode::outputForm(const CompiledProgram &program, qsizetype output) const
{
    return {program.outputs[output].type, false};
}

bool BackendCode::isUsable() const
{
    return true;
}

qsizetype BackendCode::batchLimit() const
{
    return 65536;
}

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
