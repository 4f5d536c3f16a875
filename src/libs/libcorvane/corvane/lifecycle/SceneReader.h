#pragma once

#include <corvane/model/Corvane.h>
#include <corvane/model/LogicalScene.h>

#include <QSharedPointer>

namespace corvane::lifecycle {

/// All of a scene file, read before anything of the open scene is given up.
struct ReadScene
{
    QSharedPointer<model::LogicalScene> tree{}; ///< null for a file that is a document only
    QVariantMap documentBlock{};                ///< beside the tree
    QSharedPointer<model::Corvane> document{};  ///< of such a file
    QStringList warnings{};
    QString error{};     ///< for the user; empty when it is read
    QByteArray digest{}; ///< of the file's bytes

    bool isOk() const { return error.isEmpty(); }
};

/// Reads a scene of either version. The definitions that it brings are not registered.
ReadScene readScene(const QString &path);

/// Of what lies under a path now; empty where nothing can be read.
QByteArray fileDigest(const QString &path);

} // namespace corvane::lifecycle
