// Any text is parsed and checked twice with the same outcome, in a tree of bounded height.

#include <eval/internal/frontend/Parser.h>
#include <eval/internal/frontend/TypeChecker.h>

#include <cstdlib>

namespace {

QList<eval::Diagnostic> check(const eval::internal::ParsedSource &parsed,
                              const eval::internal::SlotTable &globals)
{
    const eval::internal::StructRegistry others;
    eval::internal::TypeChecker checker(globals, others);
    checker.registerStructs(parsed.structs);
    checker.registerUserFunctions(parsed.functions);
    checker.check(parsed.root);
    return checker.diagnostics().kept();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QString source = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    const eval::internal::ParsedSource parsed = eval::internal::Parser(source).parse();
    if (!parsed.root && parsed.diagnostics.isEmpty())
        std::abort();
    if (parsed.root && parsed.root->height > eval::internal::maxTreeDepth)
        std::abort();
    eval::internal::SlotTable globals;
    globals.insert(QStringLiteral("p"), {{eval::Type::Vec3, {}, eval::Type::Float}, 1});
    globals.insert(QStringLiteral("a"), {{eval::Type::Array, {}, eval::Type::Vec2}, 2});
    if (check(parsed, globals) != check(parsed, globals))
        std::abort();
    return 0;
}
