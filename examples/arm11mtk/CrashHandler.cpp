// The entry's signal handler and stack dump (CrashHandler.h); the register dump comes from the
// architecture seam (CrashRegs.h).
#include "CrashHandler.h"

#include "CrashRegs.h"
#include "DeviceState.h"

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <execinfo.h>
#include <unistd.h>

void dump_stack()
{
    if (crash_halting_debug_enabled())
        crash_breakpoint();
    void* frames[32];
    const int depth = backtrace(frames, 32);
    printf("backtrace:\n");
    fflush(stdout);
    // Written straight to the descriptor: no allocation inside a signal handler, so a crash in
    // the allocator still gets its stack.
    if (depth > 1)
        backtrace_symbols_fd(frames + 1, depth - 1, STDOUT_FILENO);
}

void sighandler(int sig, siginfo_t* info, void* context)
{
    const int savedErrno = errno; // the interrupted code's
    switch (sig) {
    case SIGSEGV:
        printf("\n%s\n\n", "[kelostub]Invalid memory reference");
        printf("\tpc: 0x%" PRIxPTR ", addr: 0x%" PRIxPTR "\n", crash_pc(context),
               reinterpret_cast<uintptr_t>(info->si_addr));
        show_regs(context);
        dump_stack();
        printf("[kelostub]Using default signal handler.\n");
        sigaction(SIGSEGV, &old_segv, nullptr); // returning re-runs the access under it
        break;
    case SIGTERM:
        printf("\n%s\n\n", "[kelostub]Termination signal");
        printf("[kelostub]Using default signal handler.\n");
        dump_stack();
        sigaction(SIGTERM, &old_term, nullptr);
        break;
    case SIGPIPE:
        printf("\n%s\n\n", " [kelostub]SIGPIPE signal");
        printf("[kelostub]Using default signal handler.\n");
        dump_stack();
        sigaction(SIGPIPE, &old_pipe, nullptr);
        break;
    default:
        printf("\n%s: %d\n\n", "[kelostub] Unexpected signal", sig);
        show_regs(context);
        dump_stack();
        break;
    }
    fflush(stdout);
    errno = savedErrno;
}

int installSignalHandlers()
{
    // The first backtrace() loads the unwinder, which allocates: do it here, not in a handler.
    void* warm[1];
    backtrace(warm, 1);

    struct sigaction action = {};
    action.sa_sigaction = sighandler;
    action.sa_flags = SA_SIGINFO;
    sigemptyset(&action.sa_mask);

    const struct
    {
        int sig;
        struct sigaction* old;
    } kCaught[] = {{SIGINT, &old_int},   {SIGILL, &old_ill}, {SIGABRT, &old_abrt},
                   {SIGTERM, &old_term}, {SIGFPE, &old_fpe}, {SIGBUS, &old_bus}};
    for (const auto& c : kCaught) {
        int ret = sigaction(c.sig, &action, c.old);
        if (ret != 0)
            return ret;
    }
    // No alternate stack is installed; the flag is set as on the device.
    action.sa_flags |= SA_ONSTACK;
    int ret = sigaction(SIGSEGV, &action, &old_segv);
    if (ret != 0)
        return ret;
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    sigemptyset(&ignore.sa_mask);
    return sigaction(SIGPIPE, &ignore, &old_pipe);
}
