// SPDX-License-Identifier: MIT
#pragma once

#include "python/platform.h"

#include <QApplication>
#include <QTest>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

/// Makes the application of a test program. The offscreen platform never frees its screen, which is
/// none of our leaks.
inline std::unique_ptr<QApplication> makeTestApplication(int &argc, char **argv)
{
    Platform::native().useUtf8Locale();
#if defined(__SANITIZE_ADDRESS__)
    const __lsan::ScopedDisabler platformScreen;
#endif
    return std::make_unique<QApplication>(argc, argv);
}

/// As QTEST_MAIN, for programs with widgets.
#define TARNWICK_TEST_MAIN(TestClass)                                                              \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        const auto application = makeTestApplication(argc, argv);                                  \
        TestClass test;                                                                            \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
