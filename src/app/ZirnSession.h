#pragma once

#include "SceneFile.h"

#include <corvane/model/LogicalScene.h>
#include <corvane/ops/CorvaneOpExecutor.h>
#include <corvane/zirn/TaskPlan.h>

#include <QSharedPointer>

#include <optional>

namespace corvane::model {
class Corvane;
}

/// The scene that a plan runs on, open for edits as long as this lives.
class ZirnSession
{
public:
    /// Reads a scene file, or makes a new scene when the path is empty. Null when the file can't be
    /// read. Nodes of a version 2 file are there under their own ids, and in a tree as the user
    /// knows them; so is what a version 1 file holds of the field (itemsToNodes()), with a line for
    /// the user for what has to stay an item of the document.
    static std::unique_ptr<ZirnSession> open(const QString &scenePath);
    ~ZirnSession();
    ZirnSession(const ZirnSession &) = delete;
    ZirnSession &operator=(const ZirnSession &) = delete;

    /// Runs the plan to its end in a nested event loop. None when the plan was turned away, with
    /// the reason.
    std::optional<corvane::zirn::TaskPlanResult> run(const corvane::zirn::TaskPlan &plan,
                                                     QString &rejection);

    /// Compiles the tree into the document. What the document drew before and still has stays in
    /// the picture, in its order and ahead of what is new.
    void compile();
    /// Whether the scene, if it is saved over, is a file, and save() would find the place of the
    /// kept one free. False with a line for the user.
    bool canSave(const QString &path) const;
    /// Saves the document, compiled. A scene file that is saved over is kept as it was, beside it,
    /// as "<file>.bak"; a kept file of version 2, which holds more than what is compiled from it,
    /// is not replaced by one of version 1, which goes to "<file>.v1.bak" then. False, with a line
    /// for the user where there is more to say, when the file could not be written, or is another
    /// one than it was when it was read.
    bool save(const QString &path);

private:
    ZirnSession(const SceneFile &file, const QSharedPointer<corvane::model::Corvane> &document,
                const QSharedPointer<corvane::model::LogicalScene> &tree, bool isVersion2);
    bool saveOver(const QString &path) const;
    QString keptPath(const QString &path) const;

    const SceneFile m_file; ///< that the scene was read from
    const QSharedPointer<corvane::model::Corvane> m_document;
    const QSharedPointer<corvane::model::LogicalScene> m_tree;
    const bool m_isVersion2;
    const QList<QUuid> m_openedRoots; ///< what the document drew when it was opened
    const bool m_drewAllItems;        ///< as it had no list of roots
    corvane::ops::CorvaneOpExecutor m_executor;
};
