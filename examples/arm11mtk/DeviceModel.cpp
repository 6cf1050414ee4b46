// The device model table and the configuration text additions.
#include "DeviceModel.h"

#include "DeviceState.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace {

const DeviceModel kModels[] = {
    {"M110", "M110", true, "kelo client now is M110"},
    {"M120", "M120", true, "kelo client now is M120"},
    {"M130", "M130", true, "kelo client now is M130"},
    {"M131", "M130", true, "kelo client now is M131"},
    {"M140", "M140", true, "kelo client now is M140"},
    {"M150", "R7A2", false, "kelo client now is M150"},
    {"M151", "R7A2", false, "kelo client now is M151"},
};

} // namespace

const DeviceModel* findDeviceModel(const char* code)
{
    if (code == nullptr)
        return nullptr;
    for (const DeviceModel& m : kModels)
        if (strcmp(m.code, code) == 0)
            return &m;
    return nullptr;
}

const DeviceModel* deviceModels(size_t* count)
{
    *count = sizeof(kModels) / sizeof(kModels[0]);
    return kModels;
}

bool applyDeviceModel(const char* code)
{
    const DeviceModel* m = findDeviceModel(code);
    if (m == nullptr)
        return false;
    memcpy(mfgId, "TOVA", 5); // 4 characters and the NUL
    memcpy(modelId, m->modelId, 5);
    support_soc = m->supportSoc;
    puts(m->message);
    return true;
}

void appendLanguageConfig(const char* language)
{
    char line[64] = {};
    snprintf(line, sizeof(line), "language=%s\n", language);
    CONFIG += line;
}

void appendStreamingConfig(const void* buffer)
{
    char line[64] = {};
    CONFIG += "[streaming]\n";
    snprintf(line, sizeof(line), "streamingBufferPtr=0x%" PRIxPTR "\n",
             reinterpret_cast<uintptr_t>(buffer));
    CONFIG += line;
    CONFIG += "streamingBufferSize=25165824\n";
}
