// Any text is cut into tokens that lie inside it, in order, with places that fit.

#include <eval/internal/frontend/Tokenizer.h>

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QString source = QString::fromUtf8(reinterpret_cast<const char *>(data), qsizetype(size));
    eval::internal::Tokenizer tokenizer(source);
    const QChar *end = source.constData();
    for (;;) {
        const eval::internal::Token token = tokenizer.next();
        const bool isInside = token.text.isNull() ||
                              (token.text.data() >= end && token.text.data() + token.text.size() <=
                                                               source.constData() + source.size());
        if (!isInside || token.length != token.text.size() || token.line < 1 || token.column < 1)
            std::abort();
        if (token.is(eval::internal::TokenKind::End))
            return 0;
        end = token.text.data() + token.text.size();
    }
}
