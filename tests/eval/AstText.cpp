#include "AstText.h"

#include <eval/Type.h>

using namespace Qt::StringLiterals;
using namespace eval::internal;

namespace asttext {

namespace {

QString joined(const QList<AstPtr> &nodes)
{
    QStringList texts;
    for (const AstPtr &node : nodes)
        texts.append(text(node));
    return texts.join(u' ');
}

QString unaryText(const AstNode &node)
{
    static const QStringList forms{u"(-%1)"_s,  u"(+%1)"_s,  u"(!%1)"_s,  u"(~%1)"_s,
                                   u"(++%1)"_s, u"(--%1)"_s, u"(%1++)"_s, u"(%1--)"_s};
    return forms.value(static_cast<int>(node.unaryKind)).arg(text(node.left));
}

QString binaryText(const AstNode &node)
{
    static const QStringList words =
        u"+ - * / % == != < > <= >= && || ^^ & | ^ << >> = += -= *= /= %= &= |= ^= <<= >>="_s.split(
            u' ');
    const QString word = words.value(static_cast<int>(node.binaryKind));
    return u'(' + text(node.left) + u' ' + word + u' ' + text(node.right) + u')';
}

QString statementText(const AstNode &node)
{
    switch (node.kind) {
    case AstKind::Block:
        return (node.name.isEmpty() ? QString() : node.name + u':') + u'{' +
               joined(node.statements) + u'}';
    case AstKind::ExpressionStatement:
        return text(node.left) + u';';
    case AstKind::VariableDeclaration:
        return eval::typeName(node.type) + u' ' + node.name +
               (node.left ? QString(u'=' + text(node.left)) : QString()) + u';';
    case AstKind::If:
        return u"if "_s + text(node.condition) + u' ' + text(node.left) +
               (node.right ? QString(u" else "_s + text(node.right)) : QString());
    case AstKind::For:
        return u"for ["_s + text(node.left) + u'|' + text(node.condition) + u'|' +
               text(node.right) + u"] "_s + text(node.body);
    case AstKind::While:
        return u"while "_s + text(node.condition) + u' ' + text(node.body);
    case AstKind::DoWhile:
        return u"do "_s + text(node.body) + u" while "_s + text(node.condition);
    case AstKind::Return:
        return u"return"_s + (node.left ? QString(u' ' + text(node.left)) : QString()) + u';';
    case AstKind::Break:
        return u"break;"_s;
    case AstKind::Continue:
        return u"continue;"_s;
    case AstKind::Discard:
        return u"discard;"_s;
    case AstKind::Switch:
        return u"switch "_s + text(node.condition) + u' ' + joined(node.statements);
    default:
        return u"?"_s;
    }
}

} // namespace

QString text(const AstPtr &node)
{
    if (!node)
        return u"null"_s;
    switch (node->kind) {
    case AstKind::Literal:
        return node->literal.toString();
    case AstKind::Identifier:
        return node->name;
    case AstKind::Unary:
        return unaryText(*node);
    case AstKind::Binary:
        return binaryText(*node);
    case AstKind::Ternary:
        return u'(' + text(node->condition) + u" ? "_s + text(node->left) + u" : "_s +
               text(node->right) + u')';
    case AstKind::Call:
        return node->name + u'(' + joined(node->arguments) + u')';
    case AstKind::Constructor:
        return u"new "_s + node->name + u'(' + joined(node->arguments) + u')';
    case AstKind::Member:
    case AstKind::StructField:
        return text(node->left) + u'.' + node->name;
    case AstKind::Index:
        return text(node->left) + u'[' + text(node->right) + u']';
    default:
        return statementText(*node);
    }
}

QStringList texts(const QList<eval::Diagnostic> &diagnostics)
{
    QStringList list;
    for (const eval::Diagnostic &diagnostic : diagnostics) {
        list.append(u"%1:%2 %3"_s.arg(QString::number(diagnostic.span.line),
                                      QString::number(diagnostic.span.column), diagnostic.message));
    }
    return list;
}

} // namespace asttext
