// Asks for the DirectFB user-input driver in a process where DirectFB was never started:
// prints "no driver" and exits 0 when the factory declines, exits 1 when it hands out a driver.
#include "UserInputDriverDfb.h"

#include <cstdio>

int main()
{
    KELO::UserInputDriver* driver = CreateDfbUserInputDriver();
    if (driver != nullptr) {
        std::printf("driver\n");
        DestroyDfbUserInputDriver();
        return 1;
    }
    std::printf("no driver\n");
    DestroyDfbUserInputDriver();
    return 0;
}
