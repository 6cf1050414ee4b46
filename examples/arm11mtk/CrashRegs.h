#ifndef ARM11MTK_CRASHREGS_H
#define ARM11MTK_CRASHREGS_H
// The architecture seam of the crash dump: one source file per processor reads the
// interrupted register set out of the signal handler's context. CrashRegs_arm.cpp prints the
// device's ARM registers; CrashRegs_x86_64.cpp prints the x86-64 ones in the same style. Only
// the file for the processor being built has any code.
#include <cstdint>

#if !defined(__arm__) && !defined(__x86_64__)
#error "the crash dump has no register reader for this processor"
#endif

// Prints a newline, "Pid: %d, comm: %20s\n" and the registers of `ucontext` (the third
// argument of an SA_SIGINFO handler) to standard output.
void show_regs(const void* ucontext);
// The interrupted program counter.
uintptr_t crash_pc(const void* ucontext);
// Whether the processor's halting-debug mode is enabled (a debugger would catch a breakpoint);
// crash_breakpoint() then stops in it.
bool crash_halting_debug_enabled();
void crash_breakpoint();

#endif
