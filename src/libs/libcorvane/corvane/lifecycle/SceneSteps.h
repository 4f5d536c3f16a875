#pragma once

#include <QLatin1StringView>

#include <array>

/// The names of the steps of a transition, in the order in which they run. Whoever has something to
/// do in one adds it to the session by the step's name.
namespace corvane::lifecycle::SceneSteps {

inline constexpr std::array<QLatin1StringView, 18> teardown = {
    QLatin1StringView("stop-animation-clock"),
    QLatin1StringView("clear-undo-history"),
    QLatin1StringView("exit-component-view"),
    QLatin1StringView("clear-selection-and-hover"),
    QLatin1StringView("detach-viewport-document"),
    QLatin1StringView("drop-worker-snapshot"),
    QLatin1StringView("release-file-watches"),
    QLatin1StringView("cleanup-vpack-temp"),
    QLatin1StringView("clear-pending-jobs"),
    QLatin1StringView("clear-mesh-tet-layers"),
    QLatin1StringView("clear-asset-store"),
    QLatin1StringView("clear-scene-tree"),
    QLatin1StringView("clear-logical-scene"),
    QLatin1StringView("reset-compiler"),
    QLatin1StringView("disconnect-document-signals"),
    QLatin1StringView("clear-expression-manager"),
    QLatin1StringView("reset-document"),
    QLatin1StringView("reset-camera"),
};

/// Of every load, behind the steps that put the scene's content in.
inline constexpr std::array<QLatin1StringView, 9> commonLoad = {
    QLatin1StringView("bind-ui-to-document"),      QLatin1StringView("wire-document-signals"),
    QLatin1StringView("setup-expression-manager"), QLatin1StringView("setup-animation-transport"),
    QLatin1StringView("push-rendering-options"),   QLatin1StringView("restore-camera"),
    QLatin1StringView("evaluate-expressions"),     QLatin1StringView("sync-tree-entries"),
    QLatin1StringView("finalize-and-render"),
};

/// What may be left of an old scene, and what is said then.
enum class Survivor {
    Document,
    LogicalScene,
    Compiler,
    AnimationClock,
    Selection,
    ComponentView,
    PendingJobs,
    PackageFolder,
    ExpressionManager,
};
inline constexpr std::array<QLatin1StringView, 9> survivorTexts = {
    QLatin1StringView("document state differs from pristine after teardown"),
    QLatin1StringView("logical scene still has %1 instances"),
    QLatin1StringView("compiler mappings/solo-root survived"),
    QLatin1StringView("animation clock still running"),
    QLatin1StringView("selection survived"),
    QLatin1StringView("component-view session survived"),
    QLatin1StringView("pending job tracking survived"),
    QLatin1StringView(".vpack temp dir survived"),
    QLatin1StringView("expression manager survived"),
};

} // namespace corvane::lifecycle::SceneSteps
