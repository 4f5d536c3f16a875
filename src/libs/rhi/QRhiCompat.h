#pragma once

#include <QtGlobal>

// The rendering interface of Qt lives in private headers up to 6.5 and in public ones after. This
// is the one place that knows; everything else includes it and spells the names as 6.4.2 has them.
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
#include <rhi/qrhi.h>
#include <rhi/qrhi_platform.h>
#include <rhi/qshader.h>
#else
#include <private/qrhi_p.h>
#include <private/qrhigles2_p.h>
#include <private/qrhivulkan_p.h>
#include <private/qshader_p.h>
#endif

#if QT_VERSION >= QT_VERSION_CHECK(6, 10, 0)
#define CORVANE_QRHI_ENUMERATES_ADAPTERS 1 ///< QRhi::enumerateAdapters
#else
#define CORVANE_QRHI_ENUMERATES_ADAPTERS 0
#endif

#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
#define CORVANE_HAS_QRHIWIDGET 1 ///< QtWidgets has QRhiWidget; before, rhi_widgets brings it
#else
#define CORVANE_HAS_QRHIWIDGET 0
#endif

namespace rhi {

#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
using BufferReadback = QRhiReadbackResult;
#else
using BufferReadback = QRhiBufferReadbackResult;
#endif

} // namespace rhi
