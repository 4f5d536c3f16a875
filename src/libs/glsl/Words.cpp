#include <glsl/Words.h>

#include <array>
#include <string_view>

namespace glsl {

namespace {

struct Word
{
    std::u16string_view text;
    TokenKind kind;
    WordRoles roles;
};

constexpr auto nests = WordRole::Nests;
constexpr auto jumps = WordRole::Jumps;
constexpr auto qualifies = WordRole::Qualifies;
constexpr auto declares = WordRole::Declares;

/// Sorted by the first letter.
constexpr auto words = std::to_array<Word>({
    {u"break", TokenKind::Break, jumps},
    {u"case", TokenKind::Case, jumps},
    {u"const", TokenKind::Const, qualifies | declares},
    {u"continue", TokenKind::Continue, jumps},
    {u"default", TokenKind::Default, jumps},
    {u"discard", TokenKind::Discard, jumps},
    {u"do", TokenKind::Do, nests},
    {u"else", TokenKind::Else, nests},
    {u"false", TokenKind::BoolLiteral, {}}, // the truth values are literals, not keywords
    {u"flat", TokenKind::Identifier, qualifies},
    {u"for", TokenKind::For, nests},
    {u"highp", TokenKind::Identifier, qualifies},
    {u"if", TokenKind::If, nests},
    {u"in", TokenKind::In, qualifies},
    {u"inout", TokenKind::InOut, qualifies},
    {u"invariant", TokenKind::Identifier, qualifies},
    {u"lowp", TokenKind::Identifier, qualifies},
    {u"mediump", TokenKind::Identifier, qualifies},
    {u"out", TokenKind::Out, qualifies},
    {u"precise", TokenKind::Identifier, qualifies},
    {u"precision", TokenKind::Identifier, qualifies},
    {u"return", TokenKind::Return, jumps},
    {u"smooth", TokenKind::Identifier, qualifies},
    {u"struct", TokenKind::Struct, declares},
    {u"switch", TokenKind::Switch, nests},
    {u"true", TokenKind::BoolLiteral, {}},
    {u"uniform", TokenKind::Identifier, qualifies},
    {u"varying", TokenKind::Identifier, qualifies},
    {u"while", TokenKind::While, nests},
});

/// Where the words of a first letter begin; the place behind the last for a letter without any.
constexpr auto groups = [] {
    std::array<size_t, 26> starts{};
    starts.fill(words.size());
    for (size_t i = words.size(); i-- > 0;)
        starts[words[i].text.front() - u'a'] = i;
    return starts;
}();

/// Every word of every text comes by here, so there is no hash to compute.
const Word *find(std::u16string_view text)
{
    const auto letter = static_cast<size_t>(text.empty() ? 0 : text.front() - u'a');
    if (letter >= groups.size())
        return nullptr;
    for (size_t i = groups[letter]; i < words.size() && words[i].text.front() == text.front();
         ++i) {
        if (words[i].text == text)
            return &words[i];
    }
    return nullptr;
}

} // namespace

WordRoles rolesOf(QStringView word)
{
    const Word *const row = find({word.utf16(), static_cast<size_t>(word.size())});
    return row ? row->roles : WordRoles();
}

TokenKind kindOfWord(QStringView word)
{
    const Word *const row = find({word.utf16(), static_cast<size_t>(word.size())});
    return row ? row->kind : TokenKind::Identifier;
}

} // namespace glsl
