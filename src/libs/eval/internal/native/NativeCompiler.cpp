// A compile takes seconds, so the object is kept under a hash of all that it depends on; a
// second run of the same text is one dlopen. The object is renamed into place: another process
// sees a whole file or none.

#include <eval/internal/native/NativeCompiler.h>

#include <eval/internal/native/CompilerProcess.h>
#include <eval/internal/native/NativeCache.h>
#include <eval/internal/native/NativeWorkspace.h>
#include <eval/internal/native/PlainFile.h>

#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>

#include <atomic>
#include <cstring>

#include <dlfcn.h>
#include <elf.h>

using namespace Qt::StringLiterals;

namespace eval::internal {

namespace {

Q_LOGGING_CATEGORY(lcNative, "ondrel.eval.native", QtWarningMsg)

const QString objectName = u"out.so"_s;

/// The next run has to compile again, which is slow but no failure.
void warnOnce(const QString &reason)
{
    static std::atomic<bool> isSaid{false};
    if (!isSaid.exchange(true))
        qCWarning(lcNative).noquote()
            << "Compiled code is used, but not kept for the next run:" << reason;
}

/// The later -O2 wins over the -O0, which stays as the base of the list.
QStringList compilerArguments(const QString &folder, const QString &object, const QString &source)
{
    return {u"-std=c++17"_s, u"-shared"_s,         u"-fPIC"_s,     u"-O0"_s, u"-I"_s + folder,
            u"-O2"_s,        u"-fno-exceptions"_s, u"-fno-rtti"_s, u"-o"_s,  object,
            source};
}

bool writeFile(const QString &path, const QByteArray &content, QString &error)
{
    QFile file(path);
    const bool written = file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
                         file.write(content) == content.size() && file.flush();
    error = written ? QString() : u"Failed to write source: %1"_s.arg(file.errorString());
    return written;
}

/// Whether a file is a shared object whose parts all lie within it. A loader maps what the headers
/// say and crashes where the file ends before.
bool isWholeObject(const QByteArray &content)
{
    Elf64_Ehdr header;
    const auto size = static_cast<quint64>(content.size());
    if (size < sizeof header || !content.startsWith(ELFMAG))
        return false;
    std::memcpy(&header, content.constData(), sizeof header);
    const quint64 tableSize = quint64(header.e_phnum) * sizeof(Elf64_Phdr);
    if (header.e_ident[EI_CLASS] != ELFCLASS64 || header.e_type != ET_DYN ||
        header.e_phentsize != sizeof(Elf64_Phdr) || header.e_phoff > size ||
        tableSize > size - header.e_phoff)
        return false;
    for (quint64 i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr part;
        std::memcpy(&part, content.constData() + header.e_phoff + i * sizeof part, sizeof part);
        if (part.p_offset > size || part.p_filesz > size - part.p_offset)
            return false;
    }
    return header.e_phnum > 0;
}

/// The object of a unit; an empty one with the reason.
QByteArray compile(const QByteArray &source, const NativeWorkspace &workspace,
                   const CompilerLimits &limits, QString &error)
{
    const QString sourcePath = workspace.filePath(u"source.cpp"_s);
    const QString objectPath = workspace.filePath(objectName);
    if (!writeFile(sourcePath, source, error))
        return {};
    const CompilerRun run =
        runCompiler(findCompiler(workspace, limits),
                    compilerArguments(workspace.path(), objectPath, sourcePath), workspace, limits);
    error = run.error;
    if (!run.succeeded)
        return {};
    const QByteArray content = readPlainFile(objectPath, limits.object).value_or(QByteArray());
    if (!isWholeObject(content))
        error = u"Failed to read produced .so"_s;
    return error.isEmpty() ? content : QByteArray();
}

void load(const QString &path, JitResult &result)
{
    const QByteArray name = QFile::encodeName(path);
    result.handle = dlopen(name.constData(), RTLD_LAZY | RTLD_LOCAL);
    if (!result.handle) {
        result.error = u"dlopen failed for %1"_s.arg(path);
        qCInfo(lcNative, "load(): dlopen FAILED for %s: %s", name.constData(), dlerror());
        return;
    }
    if (!dlsym(result.handle, "sceneSDF"))
        qCInfo(lcNative, "load(): handle=%p (no sceneSDF symbol — that's fine for non-SDF use)",
               result.handle);
    result.entry = reinterpret_cast<NativeEntry>(dlsym(result.handle, "eval_main"));
    result.row = reinterpret_cast<NativeRowEntry>(dlsym(result.handle, "eval_row"));
    result.points = reinterpret_cast<NativePointsEntry>(dlsym(result.handle, "eval_points"));
    result.watch = reinterpret_cast<NativeWatch>(dlsym(result.handle, "eval_watch"));
    if (!result.entry)
        result.error = u"eval_main symbol not found in %1"_s.arg(path);
}

/// False, with nothing said, when another process has just swept the object out of the cache.
bool loadKept(const QString &path, JitResult &result)
{
    load(path, result);
    if (result.handle || QFile::exists(path))
        return true;
    result.error.clear();
    return false;
}

void compileAndLoad(const QByteArray &source, const NativeCache &cache, const QByteArray &key,
                    const CompilerLimits &limits, JitResult &result)
{
    const NativeWorkspace workspace;
    if (!workspace.isValid()) {
        result.error = u"Failed to create temp dir for compile"_s;
        return;
    }
    const QByteArray object = compile(source, workspace, limits, result.error);
    if (object.isEmpty())
        return;
    result.notKept = cache.store(key, object);
    if (!result.notKept.isEmpty())
        warnOnce(result.notKept);
    // What is loaded stays so when its file goes.
    if (!result.notKept.isEmpty() || !loadKept(cache.pathOf(key), result))
        load(workspace.filePath(objectName), result);
}

} // namespace

JitResult jitCompileAndLoad(const QByteArray &source, const CompilerLimits &limits)
{
    QElapsedTimer timer;
    timer.start();
    JitResult result;
    const NativeCache cache(NativeCache::defaultFolder());
    const QByteArray key = NativeCache::keyOf(source);
    result.wasCached = cache.holds(key) && loadKept(cache.pathOf(key), result);
    if (!result.wasCached)
        compileAndLoad(source, cache, key, limits, result);
    result.elapsed = std::chrono::milliseconds(timer.elapsed());
    return result;
}

} // namespace eval::internal
