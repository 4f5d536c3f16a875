#pragma once

#include <corvane/compile/LogicalSceneCompiler.h>
#include <corvane/expr/ExpressionManager.h>
#include <corvane/lifecycle/AnimationClock.h>
#include <corvane/lifecycle/RecoveryKeeper.h>
#include <corvane/lifecycle/SceneFileWatch.h>
#include <corvane/lifecycle/SceneLifecycle.h>
#include <corvane/lifecycle/SceneReader.h>
#include <corvane/lifecycle/SceneSteps.h>
#include <corvane/ops/CorvaneOpExecutor.h>

#include <QHash>
#include <QObject>
#include <QUndoStack>

#include <memory>

namespace corvane::lifecycle {

/// The open scene with all that keeps it current and undoable: the document, the user's tree, the
/// compiler between them, the executor of edits and the evaluation of expressions.
///
/// One document object lives as long as the session; opening and closing reset it in place. Every
/// change of the scene is one transition of SceneLifecycle, to whose steps a window adds its own.
/// All of a file is read before the teardown, so that a bad file can't cost the scene in hand. Main
/// thread.
class SceneSession : public QObject
{
    Q_OBJECT

public:
    enum class Answer { Save, Discard, Cancel };
    /// Asks whether to save, and answers when it knows; none asked is Cancel.
    using Question = std::function<void(const std::function<void(Answer)> &answer)>;
    /// Asks for a path to save under; empty gives it up.
    using PathQuestion = std::function<QString(const QString &suggestion)>;

    /// @param recoveryFolder  where unsaved work is copied to; empty for nowhere
    explicit SceneSession(const QString &recoveryFolder = {}, QObject *parent = nullptr);
    ~SceneSession() override;

    // What is open

    const QSharedPointer<model::Corvane> &document() const { return m_document; }
    model::LogicalScene *tree() { return &m_tree; }
    model::LogicalSceneCompiler *compiler() { return &m_compiler; }
    ops::CorvaneOpExecutor *executor() { return &m_executor; }
    QUndoStack *undoStack() { return m_executor.undoStack(); }
    SceneLifecycle *lifecycle() { return &m_lifecycle; }
    AnimationClock *animationClock() { return &m_clock; }
    RecoveryKeeper *recovery() { return m_recovery.get(); } ///< null without a folder
    /// Another one for each scene; null during a transition.
    expr::ExpressionManager *expressions() { return m_expressions.get(); }

    QString filePath() const { return m_filePath; } ///< empty until the scene has a file
    QString displayName() const;                    ///< the file's name, else the scene's
    bool isModified() const;
    bool isLoading() const { return m_isLoading; }

    // Questions to the user

    void setQuestion(const Question &question) { m_question = question; }
    void setPathQuestion(const PathQuestion &question) { m_pathQuestion = question; }
    /// Runs before each save: to put into the scene what the window keeps of it, such as cameras
    /// and what is being edited of a component.
    void setBeforeSave(const std::function<void()> &run) { m_beforeSave = run; }

    // Commands

    /// After the guard.
    void newScene();
    void openScene(const QString &path);
    /// Opens what a run that ended left; it counts as unsaved, and keeps the path of its original.
    void openRecovered(const RecoveryRecord &record);
    /// False where nothing was saved; the user has been told why.
    bool saveScene();
    bool saveSceneAs(const QString &path);
    /// Runs the continuation at once for a saved scene, else after the user's answer, and not at
    /// all after Cancel or a save that failed.
    void guardUnsavedScene(const std::function<void()> &continuation);

    /// Steps back and forth, but not in the middle of a drag.
    void undo();
    void redo();
    /// Shows one branch alone; null for all.
    void setSoloRoot(const QUuid &id);

    // For the window

    /// Adds to a step of teardown or load what the window has to do in it, behind the session's own
    /// part. An unknown name is a mistake, and logged.
    void addToStep(QLatin1StringView step, const std::function<bool(QString *error)> &run);
    /// Says whether something of the window's is left of the old scene.
    void addSurvivorCheck(SceneSteps::Survivor survivor, const std::function<bool()> &isLeft);
    /// What is left of an old scene, in words; empty when all is as in a new session.
    QStringList sceneLifecycleViolations() const;

signals:
    void titleChanged(); ///< the name, the file or whether it is modified
    void expressionsChanged(corvane::expr::ExpressionManager *expressions);
    void sceneOpened();
    /// The file was changed by another program while there are edits; without any it is read again
    /// by itself.
    void fileChangedOutside(const QString &path);

private:
    using Step = SceneLifecycle::NamedStep;

    void connectScene();
    void setUpLifecycle();
    QList<Step> commonLoadSteps();
    Step hooked(QLatin1StringView name, const std::function<bool(QString *)> &own = {});
    bool runHooks(QLatin1StringView name, QString *error);
    std::function<bool(QString *)> ownPart(QLatin1StringView name);
    QList<Step> contentSteps(const ReadScene &read);
    void adoptFile(const QString &path);
    void applyBlock(const ReadScene &read);
    void moveIn(const model::LogicalScene &tree);
    void swapIn(const model::Corvane &loaded);
    bool load(const ReadScene &read, const QString &path);
    void transit(const QString &teardownText, const QString &loadText, const QList<Step> &steps);
    void resetDocument();
    void setUpExpressions();
    bool writeTo(const QString &path);
    bool keepOthersVersion(const QString &path) const;
    void onFileChanged();
    void offerComponents();
    bool hasSurvived(SceneSteps::Survivor survivor) const;
    RecoveryKeeper::Work work() const;

    const QSharedPointer<model::Corvane> m_document;
    model::LogicalScene m_tree;
    model::LogicalSceneCompiler m_compiler;
    ops::CorvaneOpExecutor m_executor;
    std::unique_ptr<expr::ExpressionManager> m_expressions;
    AnimationClock m_clock;
    SceneLifecycle m_lifecycle;
    SceneFileWatch m_watch;
    std::unique_ptr<RecoveryKeeper> m_recovery;
    QString m_pristineFingerprint;

    QString m_filePath;
    bool m_isLoading = false;
    bool m_isRecovered = false; ///< unsaved, though nothing was edited since
    Question m_question;
    PathQuestion m_pathQuestion;
    std::function<void()> m_beforeSave;
    QHash<QLatin1StringView, QList<std::function<bool(QString *)>>> m_hooks;
    QHash<int, QList<std::function<bool()>>> m_survivorChecks;
};

} // namespace corvane::lifecycle
