// Runs the task scheduler in a process of its own, for behaviour fixed at process start (the
// KKTASK* and KKDUMPTASKQUEUE* tunables) and for the fatal end of an overfull queue.
//   scheduler_probe settings   start and stop a scheduler; print the first task id
//   scheduler_probe flood N    queue N tasks due in an hour on one processor; print "survived"
#include "kapi/Task.h"
#include "kapi/TaskProcessor.h"
#include "kapi/TaskScheduler.h"
#include "kapi/Timer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

class IdleTask : public Kapi::Task
{
public:
    IdleTask() : Task(CATEGORY_IO, 5) {}
    void work() override {}
};

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && strcmp(argv[1], "settings") == 0) {
        IdleTask first;
        printf("first id %u\n", first.getId());
        Kapi::TaskScheduler scheduler(1, 1);
        return 0;
    }
    if (argc == 3 && strcmp(argv[1], "flood") == 0) {
        const int count = atoi(argv[2]);
        Kapi::TaskScheduler scheduler(1, 1);
        Kapi::TaskProcessor processor(1);
        const int64 when = Kapi::Timer::now() + 3600LL * 1000000;
        for (int i = 0; i < count; ++i)
            processor.schedule(new IdleTask(), when + i);
        printf("survived\n");
        fflush(stdout);
        return 0;
    }
    fprintf(stderr, "usage: scheduler_probe settings | flood N\n");
    return 64;
}
