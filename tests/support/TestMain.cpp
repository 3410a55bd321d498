#include <QApplication>
#include <gtest/gtest.h>

// Tests run against the real window classes and the real event loop, always offscreen.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
