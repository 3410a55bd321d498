#include <QApplication>
#include <gtest/gtest.h>

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define QORMIN_UNDER_TSAN
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define QORMIN_UNDER_TSAN
#endif

#ifdef QORMIN_UNDER_TSAN
// Read before main(): the suppressions for Qt's uninstrumented libraries, for every way a
// suite is started (CTest cannot hand a test more than one environment variable through
// gtest_discover_tests). TSAN_OPTIONS in the environment still adds to these.
extern "C" const char* __tsan_default_options() {
    return "suppressions=" QORMIN_TSAN_SUPPRESSIONS ":second_deadlock_stack=1";
}
#endif

// Tests run against the real window classes and the real event loop, always offscreen.
int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
