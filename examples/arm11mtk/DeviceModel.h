#ifndef ARM11MTK_DEVICEMODEL_H
#define ARM11MTK_DEVICEMODEL_H
// The device model table and the configuration text the entry builds. Model codes are matched
// in table order with exact, case-sensitive comparison; every model's manufacturer is "TOVA".
#include <cstddef>

struct DeviceModel
{
    const char* code;    // argv[1]
    const char* modelId; // 4 characters
    bool supportSoc;
    const char* message; // printed with puts when selected
};

// The table row for `code`, or null.
const DeviceModel* findDeviceModel(const char* code);
// The table in order, for listings.
const DeviceModel* deviceModels(size_t* count);

// Sets mfgId, modelId and support_soc from the row of `code` and prints its message; false
// (nothing changed, nothing printed) for an unknown code.
bool applyDeviceModel(const char* code);

// Appends "language=<language>\n" to CONFIG. The line is built in a 64-byte buffer, so a
// language longer than 53 characters is cut short (the line then lacks its newline).
void appendLanguageConfig(const char* language);
// Appends the "[streaming]" section with the buffer's address (lower-case hexadecimal,
// pointer width) and its size, 25165824.
void appendStreamingConfig(const void* buffer);

#endif
