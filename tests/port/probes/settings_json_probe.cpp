// Creates the JSON settings store at argv[1] and sets each "key=value" argument after it,
// printing "set <key> <1|0>" per argument: a program to watch from outside (strace).
#include "SettingsJson.h"

#include <cstdio>
#include <string>

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: settings_json_probe PATH [KEY=VALUE...]\n");
        return 2;
    }
    KELO::SettingsJson* store = KELO::SettingsJson::Create(argv[1]);
    if (store == nullptr)
        return 1;
    for (int i = 2; i < argc; ++i) {
        const std::string pair = argv[i];
        const size_t equals = pair.find('=');
        const std::string key = pair.substr(0, equals);
        const std::string value = equals == std::string::npos ? "" : pair.substr(equals + 1);
        printf("set %s %d\n", key.c_str(), store->set(key, value) ? 1 : 0);
    }
    KELO::SettingsJson::Destroy();
    return 0;
}
