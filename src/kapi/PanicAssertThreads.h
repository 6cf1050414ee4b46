#ifndef KAPI_PANICASSERTTHREADS_H
#define KAPI_PANICASSERTTHREADS_H
// The fatal assertion for failures where the state of the whole process matters (a runaway task
// queue): before ending the process as PanicAssertFail() does, it logs every thread of the
// process with its kernel id and name, so the log shows which threads were alive and busy.
// Never returns; safe from any thread.
namespace Kapi {

[[noreturn]] void PanicAssertFailAllThreads(const char* expression, const char* file, int line);

} // namespace Kapi

#endif
