#pragma once

#include <eval/internal/codegen/CodeWriter.h>
#include <eval/internal/frontend/Builtin.h>

namespace eval::internal {

/// Calls of built-in functions as text. The catalogue (Builtin.cpp) says in which of a few forms;
/// what a form looks like in a language is said once for all functions of that form.
class BuiltinEmitter
{
public:
    struct Call
    {
        QByteArray text;
        Type type = Type::Float;
    };

    explicit BuiltinEmitter(CodeWriter &writer)
        : m_writer(writer)
    {}
    virtual ~BuiltinEmitter();

    /// None where the types have no such form in the language.
    std::optional<Call> emitCall(const Builtin &builtin, const QList<CodeValue> &arguments);
    /// Whether the text of a call has an argument more than once, so that it should be a name.
    virtual bool writesArgumentsAgain(const Builtin &builtin) const = 0;
    /// Whether this packs lanes into one word: in a flat buffer only its bits count.
    static bool isPacking(const Builtin &builtin);

protected:
    using Values = QList<CodeValue>;
    using Emitted = std::optional<Call>;

    virtual QByteArray functionOf(const Builtin &row) const = 0;
    virtual Emitted perLane(const Builtin &row, const Values &a) = 0;
    /// The first argument gives the size; of the others what lies beyond is cut and what lacks is
    /// zero.
    virtual Emitted geometric(const Builtin &row, const Values &a, bool givesVector) = 0;
    virtual Emitted crossProduct(const Builtin &row, const Values &a) = 0;
    virtual Emitted relation(const Builtin &row, const Values &a) = 0;
    virtual Emitted test(const Builtin &row, const Values &a) = 0;
    virtual QByteArray anyOrAll(const Builtin &row, const CodeValue &lanes) = 0;
    virtual QByteArray negation(const Builtin &row, const CodeValue &lanes) = 0;
    /// Of two float vectors.
    virtual QByteArray outerProduct(const Values &a, Type type) = 0;
    virtual QByteArray floatBits(const Builtin &row, const QByteArray &number) = 0;
    virtual QByteArray bitsAsFloat(const Builtin &row, const CodeValue &bits, Type type) = 0;

    static bool isFloatOnly(const Values &arguments);
    static bool isScalarOrVector(const CodeValue &value);
    /// A lane, not broadcast.
    QByteArray ownLaneAs(const CodeValue &value, int lane, Type type) const;
    /// The type that a function of lanes computes in.
    static Type laneTypeOf(const Builtin &row, const Values &a);

    CodeWriter &m_writer;

private:
    Emitted refraction(const Builtin &row, const Values &a);
    Emitted ofMatrix(const Builtin &row, const Values &a) const;
    Emitted outer(const Values &a);
    Emitted componentProduct(const Builtin &row, const Values &a) const;
    Emitted bitField(const Builtin &row, const Values &a) const;
    Call pack(const Builtin &row, const CodeValue &lanes, int count) const;
    Emitted ofScalar(const Builtin &row, const CodeValue &scalar);
};

} // namespace eval::internal
