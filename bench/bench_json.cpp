// JSON read and write throughput of KeyValueMap/JsonToKeyValue, with nlohmann::json on the
// same document as the baseline. The document (~1 MB) mixes objects, arrays, strings,
// integers of both widths and doubles; its strings avoid the bytes written as \u escapes.
#include "kapi/JsonToKeyValue.h"
#include "kapi/KeyValueMap.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <random>
#include <string>

namespace {

std::string randomWord(std::mt19937& random)
{
    static const char letters[] = "abcdefghijklmnopqrstuvwxyz ABCDEFGHIJ0123456789_-.,:/\\\"";
    std::string word;
    const size_t length = 3 + random() % 20;
    for (size_t i = 0; i < length; ++i)
        word += letters[random() % (sizeof letters - 1)];
    return word;
}

Kapi::KeyValueMap makeRecord(std::mt19937& random, int index)
{
    Kapi::KeyValueMap record;
    record.addValue("id", index);
    record.addValue("title", randomWord(random));
    record.addValue("description", randomWord(random) + " " + randomWord(random));
    record.addValue("duration", static_cast<int>(random() % 10000));
    record.addValue("size", static_cast<long long>(random()) * 1000 + 5000000000LL);
    record.addValue("rating", static_cast<double>(random() % 1000) / 100.0 + 0.005);
    record.addValue("available", random() % 2 == 0);
    Kapi::VariantVector tags;
    for (int i = 0; i < 4; ++i)
        tags.push_back(randomWord(random));
    record.addValue("tags", std::move(tags));
    Kapi::VariantVector bitrates;
    for (int i = 0; i < 6; ++i)
        bitrates.push_back(static_cast<int>(500 + 500 * i));
    record.addValue("bitrates", std::move(bitrates));
    record.addValue("art", Kapi::KeyValueMap("url", "http://images.example/" + randomWord(random),
                                             "width", 1280, "height", 720));
    return record;
}

const std::string& document()
{
    static const std::string text = [] {
        std::mt19937 random(42);
        Kapi::KeyValueMap top;
        Kapi::VariantVector items;
        std::string json;
        for (int i = 0; json.size() < 1000000; ++i) {
            items.push_back(makeRecord(random, i));
            if (i % 256 == 255) {
                top.addValue("items", items);
                json = top.toJsonString();
            }
        }
        top.addValue("items", std::move(items));
        top.addValue("version", 3);
        return top.toJsonString();
    }();
    return text;
}

void BM_KapiParse(benchmark::State& state)
{
    const std::string& text = document();
    for (auto _ : state) {
        Kapi::KeyValueMap map;
        const bool ok = Kapi::KeyValueMap::parseJsonString(text, map);
        benchmark::DoNotOptimize(ok);
        if (!ok)
            state.SkipWithError("parse failed");
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_KapiParse)->Unit(benchmark::kMillisecond);

void BM_KapiWrite(benchmark::State& state)
{
    Kapi::KeyValueMap map;
    Kapi::KeyValueMap::parseJsonString(document(), map);
    size_t bytes = 0;
    for (auto _ : state) {
        const std::string text = map.toJsonString();
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_KapiWrite)->Unit(benchmark::kMillisecond);

void BM_NlohmannParse(benchmark::State& state)
{
    const std::string& text = document();
    for (auto _ : state) {
        nlohmann::json value = nlohmann::json::parse(text);
        benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_NlohmannParse)->Unit(benchmark::kMillisecond);

void BM_NlohmannDump(benchmark::State& state)
{
    const nlohmann::json value = nlohmann::json::parse(document());
    size_t bytes = 0;
    for (auto _ : state) {
        const std::string text = value.dump();
        bytes = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_NlohmannDump)->Unit(benchmark::kMillisecond);

} // namespace
