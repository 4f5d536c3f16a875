// What nearly every test reads.
#pragma once
#include <QTemporaryDir>
#include <QTest>
#include <QVariant>
