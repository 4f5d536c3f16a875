#pragma once

#include <QByteArray>
#include <QString>
#include <private/qshader_p.h>

namespace shader {

/// What runs in this process and ends it where it crashes.
enum class Compiler {
    Glsl,  ///< makes SPIR-V and the languages of the back-ends
    Driver ///< makes machine code of the graphics processor
};

/// Says on the disk that a shader is being compiled, for as long as it is. The mark that a dead
/// process leaves keeps its shader from being tried, and ending the program, at each start:
///
///     const CompileMark mark(Compiler::Glsl, key, name);
///     if (!mark.refusal().isEmpty())
///         return failed(mark.refusal());
///     compile();                         // the destructor takes the mark away
///
/// A refusal holds until the program has another version, its file is removed, or forgetRefusals().
///
/// A mark is a file that its process keeps locked. The system lets go of the lock however the
/// process dies, so that neither programs that run side by side nor a process number in use again
/// are mistaken. Where no mark can be written, and while another thread or process compiles the
/// same, the compile goes on without. A program that ends itself or is interrupted takes its marks
/// along through store::SafeFile::removeAllPending().
///
/// Any thread; a mark costs some 50 microseconds.
class CompileMark
{
public:
    /// @param key     of what is compiled; stands in the name of the file, so hexadecimal digits
    /// @param name    of the shader, for the refusal
    /// @param folder  of the marks; that of the process when empty
    CompileMark(Compiler compiler, const QString &key, const QString &name,
                const QString &folder = {});
    ~CompileMark();
    Q_DISABLE_COPY_MOVE(CompileMark)

    /// Why this must not be compiled, a sentence without its stop; empty when it may be.
    QString refusal() const { return m_refusal; }

    /// Of the code of a shader and of who compiles it.
    [[nodiscard]] static QString driverKey(const QShader &shader, const QString &driver);
    /// AppLocalDataLocation + "/compiling".
    [[nodiscard]] static QString defaultFolder();

private:
    bool lock(const QString &folder);

    QByteArray m_path;
    int m_file = -1;    ///< -1 without a mark
    int m_pending = -1; ///< of store::PendingFiles
    QString m_refusal;
};

/// Lets everything be compiled again, as the user asks for it. Answers how many refusals there
/// were. Any thread.
int forgetRefusals(const QString &folder = CompileMark::defaultFolder());

} // namespace shader
