#pragma once

#include <rhi/QRhiCompat.h>

#if CORVANE_HAS_QRHIWIDGET
#include <QRhiWidget>
#else
#include <rhi_widgets/QRhiWidgetStandIn.h>
#endif
