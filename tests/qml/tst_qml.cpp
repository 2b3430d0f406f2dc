#include "testbed.h"

#include <QQmlContext>
#include <QtQuickTest>

QUICK_TEST_MAIN_WITH_SETUP(modelbase, Testbed)
