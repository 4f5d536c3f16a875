#include <corvane/model/DocumentEdit.h>

#include <QPointer>
#include <QUndoCommand>
#include <QUndoStack>

using namespace Qt::StringLiterals;

namespace corvane::model {

namespace {

const QString childrenParam = QStringLiteral("children");

} // namespace

class DocumentEdit::Command : public QUndoCommand
{
public:
    Command(const DocumentEdit &edit, const QString &text)
        : QUndoCommand(text)
        , m_document(&edit.m_document)
        , m_before(edit.m_before)
        , m_after(edit.m_after)
        , m_rootsBefore(edit.m_document.roots())
        , m_rootsAfter(edit.m_roots)
    {}

    void undo() override
    {
        if (m_document)
            apply(*m_document, m_before, m_rootsBefore);
    }
    void redo() override
    {
        if (m_document)
            apply(*m_document, m_after, m_rootsAfter);
    }

private:
    QPointer<Corvane> m_document;
    State m_before;
    State m_after;
    QList<QUuid> m_rootsBefore;
    QList<QUuid> m_rootsAfter;
};

DocumentEdit::DocumentEdit(Corvane &document)
    : m_document(document)
    , m_roots(document.roots())
{}

Instance DocumentEdit::item(const QUuid &id) const
{
    const auto changed = m_after.constFind(id);
    if (changed == m_after.cend())
        return m_document.instance(id);
    return Instance(changed->value_or(SceneItem(QUuid())));
}

void DocumentEdit::put(const SceneItem &item)
{
    if (!m_before.contains(item.id)) {
        const bool exists = m_document.hasItem(item.id);
        m_before.insert(item.id, exists ? std::optional(m_document.item(item.id)) : std::nullopt);
    }
    m_after.insert(item.id, item);
}

void DocumentEdit::remove(const QUuid &id)
{
    if (!m_document.hasItem(id))
        return;
    m_before.insert(id, m_document.item(id));
    m_after.insert(id, std::nullopt);
}

QString DocumentEdit::referenceTo(const QUuid &id) const
{
    const QString name = item(id).name;
    const QUuid holder = m_document.instanceIdByName(name);
    const bool isNamed = !name.isEmpty() && (holder.isNull() || holder == id);
    return u'@' + (isNamed ? name : id.toString(QUuid::WithoutBraces));
}

void DocumentEdit::rename(const QUuid &id, const QString &newName)
{
    SceneItem renamed = item(id);
    renamed.name = newName;
    put(renamed);
    replaceReferences(id, referenceTo(id));
}

void DocumentEdit::redirect(const QUuid &id, const QUuid &newId)
{
    redirectUsers(id, newId);
    const QList<QUuid> below = m_document.hierarchyChildIds(id);
    for (const QUuid &child : below) {
        SceneItem moved = item(child);
        moved.parentId = newId;
        put(moved);
    }
}

void DocumentEdit::redirectUsers(const QUuid &id, const QUuid &newId)
{
    replaceReferences(id, referenceTo(newId));
    for (QUuid &root : m_roots) {
        if (root == id)
            root = newId;
    }
}

void DocumentEdit::setReferences(Instance &item, const QStringList &references)
{
    if (references.isEmpty())
        item.removeParameter(childrenParam);
    else
        item.setParameter(childrenParam, QVariantList(references.cbegin(), references.cend()));
}

void DocumentEdit::replaceReferences(const QUuid &id, const QString &reference)
{
    const QMap<QUuid, SceneItem> items = m_document.items();
    for (const SceneItem &stored : items) {
        if (stored.itemType != ItemTypes::Sdf)
            continue;
        Instance owner = item(stored.id);
        QStringList references = owner.childReferences();
        bool isChanged = false;
        for (QString &old : references) {
            if (old == reference || m_document.resolveReference(old) != id)
                continue;
            old = reference;
            isChanged = true;
        }
        if (!isChanged)
            continue;
        setReferences(owner, references);
        put(owner);
    }
}

bool DocumentEdit::commit(QUndoStack *undoStack, const QString &text)
{
    m_after.removeIf([this](State::iterator it) { return m_before.value(it.key()) == *it; });
    m_before.removeIf([this](State::iterator it) { return !m_after.contains(it.key()); });
    if (m_after.isEmpty() && m_roots == m_document.roots())
        return false;
    if (undoStack)
        undoStack->push(new Command(*this, text));
    else
        apply(m_document, m_after, m_roots);
    return true;
}

/// New items first, so that no reference is ever without its item. Names last: who follows a rename
/// rewrites expressions, in items too that this edit changes for another reason.
void DocumentEdit::apply(Corvane &document, const State &state, const QList<QUuid> &roots)
{
    for (auto it = state.cbegin(); it != state.cend(); ++it) {
        if (*it && !document.hasItem(it.key()))
            document.addItem(**it);
    }
    QList<SceneItem> renamed;
    for (const std::optional<SceneItem> &wanted : state) {
        const SceneItem now = wanted ? document.item(wanted->id) : SceneItem(QUuid());
        if (!wanted || now == *wanted)
            continue;
        if (now.name != wanted->name)
            renamed.append(*wanted);
        else
            document.updateItem(*wanted);
    }
    for (const SceneItem &item : std::as_const(renamed))
        document.updateItem(item);
    if (document.roots() != roots)
        document.setRoots(roots);
    for (auto it = state.cbegin(); it != state.cend(); ++it) {
        if (!*it)
            document.removeItem(it.key());
    }
}

} // namespace corvane::model
