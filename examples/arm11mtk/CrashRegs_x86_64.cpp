// The x86-64 register dump of the crash handler, laid out like the ARM one: the program
// counter, stack and flags first, then the general registers, four to a line.
#include "CrashRegs.h"

#if defined(__x86_64__)

#include <cstdio>
#include <sys/prctl.h>
#include <ucontext.h>
#include <unistd.h>

void show_regs(const void* ucontext)
{
    const greg_t* r = static_cast<const ucontext_t*>(ucontext)->uc_mcontext.gregs;
    char comm[17] = {};
    prctl(PR_GET_NAME, comm, 0, 0, 0);
    printf("\n");
    printf("Pid: %d, comm: %20s\n", getpid(), comm);
    printf("rip: [<%016llx>]    rsp: [<%016llx>]    eflags: %016llx\n",
           (unsigned long long)r[REG_RIP], (unsigned long long)r[REG_RSP],
           (unsigned long long)r[REG_EFL]);
    printf("rax: %016llx  rbx: %016llx  rcx: %016llx  rdx: %016llx\n",
           (unsigned long long)r[REG_RAX], (unsigned long long)r[REG_RBX],
           (unsigned long long)r[REG_RCX], (unsigned long long)r[REG_RDX]);
    printf("rsi: %016llx  rdi: %016llx  rbp: %016llx  r8 : %016llx\n",
           (unsigned long long)r[REG_RSI], (unsigned long long)r[REG_RDI],
           (unsigned long long)r[REG_RBP], (unsigned long long)r[REG_R8]);
    printf("r9 : %016llx  r10: %016llx  r11: %016llx  r12: %016llx\n",
           (unsigned long long)r[REG_R9], (unsigned long long)r[REG_R10],
           (unsigned long long)r[REG_R11], (unsigned long long)r[REG_R12]);
    printf("r13: %016llx  r14: %016llx  r15: %016llx\n", (unsigned long long)r[REG_R13],
           (unsigned long long)r[REG_R14], (unsigned long long)r[REG_R15]);
}

uintptr_t crash_pc(const void* ucontext)
{
    return static_cast<uintptr_t>(
        static_cast<const ucontext_t*>(ucontext)->uc_mcontext.gregs[REG_RIP]);
}

bool crash_halting_debug_enabled()
{
    return false; // no user-readable debug status register on this processor
}

void crash_breakpoint()
{
    __asm__ volatile("int3");
}

#endif
