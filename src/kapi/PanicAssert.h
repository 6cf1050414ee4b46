#ifndef KAPI_PANICASSERT_H
#define KAPI_PANICASSERT_H
// The end of the process on a failed assertion. PanicAssertFail() reports the failure through
// the platform log (source "kapi_os", priority error) and on standard error, then:
//   - with KKDEBUGGER naming a program, starts it as `<program> /proc/<pid>/task/<tid>/exe <tid>`
//     and parks the failing thread (renamed "***KKCRASH***") for it to attach;
//   - else with KKNOQUITONASSERT set, parks the thread the same way;
//   - else sleeps one second, syncs the file systems and aborts.
// It never returns. Safe to call from any thread.
namespace Kapi {

[[noreturn]] void PanicAssertFail(const char* expression, const char* file, int line);

} // namespace Kapi

// Checks a condition that only a broken system or a programming error can violate.
#define KAPI_ASSERT(expr)                                                                          \
    ((expr) ? static_cast<void>(0) : ::Kapi::PanicAssertFail(#expr, __FILE__, __LINE__))

#endif
