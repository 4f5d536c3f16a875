// Saving: what is asked before a scene goes, and what other programs made of its file meanwhile.
#include <corvane/lifecycle/SceneSession.h>

#include <corvane/model/CorvaneDSLSerializer.h>
#include <store/KeptCopy.h>
#include <toast/ToastManager.h>

using namespace Qt::StringLiterals;

namespace corvane::lifecycle {

namespace {

void tellError(const QString &text)
{
    toast::error(SceneSession::tr("Error"), text);
}

} // namespace

void SceneSession::guardUnsavedScene(const std::function<void()> &continuation)
{
    if (m_isLoading || !isModified())
        return continuation();
    if (m_recovery)
        m_recovery->copyNow();
    if (!m_question)
        return;
    m_question([this, continuation](Answer answer) {
        const bool goesOn = answer == Answer::Discard || (answer == Answer::Save && saveScene());
        if (goesOn)
            continuation();
    });
}

bool SceneSession::saveScene()
{
    if (!m_filePath.isEmpty())
        return writeTo(m_filePath);
    const QString path = m_pathQuestion ? m_pathQuestion(displayName()) : QString();
    return !path.isEmpty() && writeTo(path);
}

bool SceneSession::saveSceneAs(const QString &path)
{
    return writeTo(path);
}

bool SceneSession::writeTo(const QString &path)
{
    const bool isSame = path == m_filePath;
    if (isSame && m_watch.isChanged() && !keepOthersVersion(path))
        return false;
    if (m_beforeSave)
        m_beforeSave();
    const bool isWritten =
        m_tree.instances().isEmpty() && !m_document->items().isEmpty()
            ? m_document->saveToFile(path)
            : model::CorvaneDSLSerializer::serializeLogicalToFile(m_tree, path, *m_document);
    if (!isWritten) {
        tellError(tr("Failed to save scene to:\n%1").arg(path));
        return false;
    }
    if (isSame)
        m_watch.noteWritten();
    else
        m_watch.start(path, fileDigest(path));
    m_filePath = path;
    m_isRecovered = false;
    undoStack()->setClean();
    if (m_recovery)
        m_recovery->forget();
    emit titleChanged();
    return true;
}

// Nothing of another program's is lost by a save of ours.
bool SceneSession::keepOthersVersion(const QString &path) const
{
    const QString kept = path + u".bak"_s;
    QString error;
    if (!store::keepCopy(path, kept, &error)) {
        tellError(tr("%1 was changed by another program, and its version can't be kept: %2\n"
                     "Save under another name.")
                      .arg(path, error));
        return false;
    }
    toast::warning(tr("The file was changed by another program"),
                   tr("Its version is kept as %1").arg(kept));
    return true;
}

void SceneSession::onFileChanged()
{
    if (isModified()) {
        emit fileChangedOutside(m_filePath);
        return;
    }
    const QString path = m_filePath;
    const ReadScene read = readScene(path);
    if (!read.isOk()) // it may be half of what it will be
        return;
    load(read, path);
    toast::info(tr("Read again"), tr("%1 was changed by another program.").arg(path));
}

} // namespace corvane::lifecycle
