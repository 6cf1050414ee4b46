// Child process for the simulator's environment switches: initialises and opens the
// configuration client and prints the results and the failure list.
#include "SimPlatform.h"

#include <cstdio>

int main()
{
    printf("init %d\n", IMtkCfg_Init());
    IMTK_CFG_HANDLE_T h = -1;
    printf("open %d\n", IMtkCfg_Open(&h));
    printf("failures %s\n", SimPlatform::failures().c_str());
    return 0;
}
