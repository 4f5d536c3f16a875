#pragma once

#include <corvane/camera/CameraPose.h>

#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector4D>

#include <optional>

/// What draw_scene is asked for.
struct DrawOptions
{
    QString scenePath{};
    QString outputPath{};
    QSize size{640, 360};
    QString mode = QStringLiteral("env-lit-pbr");
    QString environment = QStringLiteral("brand-lighting");
    QString lighting = QStringLiteral("brand-lighting");
    QString tonemap = QStringLiteral("agx");
    QString antialias = QStringLiteral("none");
    QString evaluator = QStringLiteral("tree");
    QString api = QStringLiteral("vulkan");
    QString depthPath{};
    QString normalsPath{};
    QString idsPath{};
    int debugView = 0;
    bool isGroundShown = false;
    QList<QVector4D> sections{};
    float fieldOfView = 45.0f;
    std::optional<QVector3D> eye{};
    std::optional<QVector3D> target{};
    QVector3D up{0, 1, 0};

    static QString usage();
    /// Nothing, with a sentence, when the arguments make no sense.
    static std::optional<DrawOptions> parse(const QStringList &arguments, QString &error);
};
