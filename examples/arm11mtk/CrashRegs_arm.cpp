// The device's ARM register dump of the crash handler, from the signal context's sigcontext.
#include "CrashRegs.h"

#if defined(__arm__)

#include <cstdio>
#include <sys/prctl.h>
#include <ucontext.h>
#include <unistd.h>

void show_regs(const void* ucontext)
{
    const mcontext_t& r = static_cast<const ucontext_t*>(ucontext)->uc_mcontext;
    char comm[17] = {};
    prctl(PR_GET_NAME, comm, 0, 0, 0);
    printf("\n");
    printf("Pid: %d, comm: %20s\n", getpid(), comm);
    printf("pc : [<%08lx>]    lr : [<%08lx>]    psr: %08lx\n"
           "sp : %08lx  ip : %08lx  fp : %08lx\n",
           r.arm_pc, r.arm_lr, r.arm_cpsr, r.arm_sp, r.arm_ip, r.arm_fp);
    printf("r10: %08lx  r9 : %08lx  r8 : %08lx\n", r.arm_r10, r.arm_r9, r.arm_r8);
    printf("r7 : %08lx  r6 : %08lx  r5 : %08lx  r4 : %08lx\n", r.arm_r7, r.arm_r6, r.arm_r5,
           r.arm_r4);
    printf("r3 : %08lx  r2 : %08lx  r1 : %08lx  r0 : %08lx\n", r.arm_r3, r.arm_r2, r.arm_r1,
           r.arm_r0);
}

uintptr_t crash_pc(const void* ucontext)
{
    return static_cast<uintptr_t>(static_cast<const ucontext_t*>(ucontext)->uc_mcontext.arm_pc);
}

bool crash_halting_debug_enabled()
{
    unsigned long dscr = 0;
    __asm__ volatile("mrc p14, 0, %0, c0, c1, 0" : "=r"(dscr)); // debug status and control
    return (dscr & (1ul << 14)) != 0;
}

void crash_breakpoint()
{
    __asm__ volatile("bkpt #0");
}

#endif
