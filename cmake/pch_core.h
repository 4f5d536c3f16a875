// The Qt headers that nearly every source of the libraries reads.
#pragma once
#include <QDebug>
#include <QHash>
#include <QList>
#include <QLoggingCategory>
#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>
