#ifndef ARM11MTK_CRASHHANDLER_H
#define ARM11MTK_CRASHHANDLER_H
// The entry's signal handling: crash reports on standard output for SIGINT, SIGILL, SIGABRT,
// SIGTERM, SIGFPE, SIGBUS and SIGSEGV, and SIGPIPE ignored. The previous actions are saved in
// the old_* records of DeviceState.h; SIGSEGV and SIGTERM restore theirs after one report,
// the others report every time and carry on.
#include <csignal>

// Installs the handler in the entry's order; 0, or the first failing sigaction's result.
int installSignalHandlers();

void sighandler(int sig, siginfo_t* info, void* context);
// "backtrace:" and the symbolised return addresses of the calling thread, one a line, without
// the innermost frame (dump_stack's own).
void dump_stack();

#endif
