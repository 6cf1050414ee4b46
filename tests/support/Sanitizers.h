#ifndef KELO_TESTS_SANITIZERS_H
#define KELO_TESTS_SANITIZERS_H
// Tests that misuse a primitive on purpose (unlocking an unheld mutex, to see the fatal
// assertion) are reported by ThreadSanitizer before our own check runs; they skip there.
#include <gtest/gtest.h>

#if defined(__SANITIZE_THREAD__)
#define KELO_SKIP_UNDER_TSAN() GTEST_SKIP() << "deliberate lock misuse; ThreadSanitizer reports it first"
#else
#define KELO_SKIP_UNDER_TSAN() (void)0
#endif

#endif
