// Cost of parsing a configuration text of 1,000 lines and of the typed getters on the result.
// The text has 50 global lines, then 50 sections of a header, a comment and 17 key lines.
#include "kapi/vConfig.h"

#include <benchmark/benchmark.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace {

constexpr int kSections = 50;
constexpr int kKeysPerSection = 17;
constexpr int kGlobalLines = 50;

std::string sectionName(int s)
{
    return "section" + std::to_string(s);
}

std::string keyName(int k)
{
    return "key" + std::to_string(k);
}

// Built with appends only: each line is "<pieces...>\n".
void addLine(std::string& text, std::initializer_list<std::string> pieces)
{
    for (const std::string& piece : pieces)
        text += piece;
    text += '\n';
}

std::string makeText()
{
    std::string text;
    for (int g = 0; g < kGlobalLines; ++g)
        addLine(text, {"global", std::to_string(g), " = ", std::to_string(g * 7)});
    for (int s = 0; s < kSections; ++s) {
        addLine(text, {"[", sectionName(s), "]"});
        addLine(text, {"# settings of ", sectionName(s)});
        for (int k = 0; k < kKeysPerSection; ++k) {
            switch (k % 3) {
            case 0:
                addLine(text, {keyName(k), " = ", std::to_string(s * 1000 + k)});
                break;
            case 1:
                addLine(text, {keyName(k), "=", k % 2 ? "true" : "FALSE"});
                break;
            default:
                addLine(text, {"  ", keyName(k), "  =  some text value ", std::to_string(k)});
                break;
            }
        }
    }
    return text;
}

const std::string& configText()
{
    static const std::string s_text = makeText();
    return s_text;
}

void BM_ParseConfig(benchmark::State& state)
{
    const std::string& text = configText();
    for (auto _ : state) {
        Kapi::vConfig config;
        if (!config.fromString(text)) {
            state.SkipWithError("the generated text does not parse");
            break;
        }
        benchmark::DoNotOptimize(config);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(text.size()));
    state.SetItemsProcessed(state.iterations() *
                            (kGlobalLines + kSections * (kKeysPerSection + 2)));
}
BENCHMARK(BM_ParseConfig);

void BM_ToString(benchmark::State& state)
{
    Kapi::vConfig config;
    config.fromString(configText());
    for (auto _ : state) {
        std::string text = config.toString();
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(BM_ToString);

// One integer, one boolean and one string lookup per iteration, cycling over the sections.
void BM_TypedGetters(benchmark::State& state)
{
    Kapi::vConfig config;
    config.fromString(configText());
    std::vector<std::string> names;
    for (int s = 0; s < kSections; ++s)
        names.push_back(sectionName(s));
    const std::string intKey = keyName(3), boolKey = keyName(4), textKey = keyName(5);
    size_t next = 0;
    for (auto _ : state) {
        const std::string& section = names[next++ % names.size()];
        int number = 0;
        bool flag = false;
        std::string text;
        benchmark::DoNotOptimize(config.getSingleIntegerValue(section, intKey, number, -1));
        benchmark::DoNotOptimize(config.getSingleBooleanValue(section, boolKey, flag, false));
        benchmark::DoNotOptimize(config.getSingleValue(section, textKey, text, ""));
        benchmark::DoNotOptimize(number);
        benchmark::DoNotOptimize(flag);
    }
    state.SetItemsProcessed(state.iterations() * 3);
}
BENCHMARK(BM_TypedGetters);

// A missing key in a missing section: the path most start-up readers take for optional keys.
void BM_GetterDefault(benchmark::State& state)
{
    Kapi::vConfig config;
    config.fromString(configText());
    const std::string section = "misc", key = "taskSchedulerIoTasks";
    for (auto _ : state) {
        uint32 value = 0;
        benchmark::DoNotOptimize(config.getSingleUInteger32Value(section, key, value, 16));
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(BM_GetterDefault);

} // namespace
