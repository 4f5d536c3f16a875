// In every dialect any text is cut into tokens that lie inside it, in order, with places that fit.

#include <glsl/Lexer.h>

#include <QString>

#include <cstdlib>

namespace {

void cut(const QString &source, const glsl::Dialect &dialect)
{
    glsl::Lexer lexer(source, dialect);
    const QChar *end = source.constData();
    int line = 1;
    for (;;) {
        const glsl::Token token = lexer.next();
        const bool isInside = token.text.data() >= end && token.text.data() + token.text.size() <=
                                                              source.constData() + source.size();
        const bool isPlaced =
            token.length == token.text.size() && token.line >= line && token.column >= 1;
        const bool isEnd = token.is(glsl::TokenKind::End);
        if (!isInside || !isPlaced || token.text.isEmpty() != isEnd)
            std::abort();
        if (isEnd)
            return;
        end = token.text.data() + token.text.size();
        line = token.line;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QString source = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    for (const glsl::Dialect &dialect :
         {glsl::fieldLanguage, glsl::shaderText, glsl::expressionText, glsl::plainText})
        cut(source, dialect);
    return 0;
}
