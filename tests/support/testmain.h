#pragma once

#include <QApplication>
#include <QTest>

/// The main function of a test program: no display server needed, one test object.
#define OV3D_TEST_MAIN(TestClass)                                                                                      \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))                                                            \
            qputenv("QT_QPA_PLATFORM", "offscreen");                                                                   \
        QApplication application(argc, argv);                                                                          \
        TestClass test;                                                                                                \
        return QTest::qExec(&test, argc, argv);                                                                        \
    }
