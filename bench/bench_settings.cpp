// Set and get latency of the two settings stores. A JSON set rewrites the whole
// file through a temporary file, a rename and a file-system sync, so its cost
// grows with the number of settings held; a SQLite set is one INSERT OR REPLACE
// in its own transaction.
#include "SettingsJson.h"
#include "SettingsSQLite.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

std::string makeDir() {
  char dir[] = "/tmp/kelo-bench-settings.XXXXXX";
  return mkdtemp(dir) != nullptr ? dir : "/tmp";
}

void removeDir(const std::string &dir) {
  std::system(("rm -rf '" + dir + "'").c_str());
}

// Args: the number of other settings the store holds.
void BM_JsonSet(benchmark::State &state) {
  const std::string dir = makeDir();
  KELO::SettingsJson *store =
      KELO::SettingsJson::Create(dir + "/kelo-settings.db");
  for (int64_t i = 0; i < state.range(0); ++i)
    store->set("key" + std::to_string(i),
               "value of setting " + std::to_string(i));
  int64_t n = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(store->set("bench", std::to_string(n++)));
  KELO::SettingsJson::Destroy();
  removeDir(dir);
}
BENCHMARK(BM_JsonSet)->Arg(1)->Arg(64)->Arg(512)->Unit(benchmark::kMicrosecond);

void BM_JsonGet(benchmark::State &state) {
  const std::string dir = makeDir();
  KELO::SettingsJson *store = KELO::SettingsJson::Create(dir + "/s.txt");
  for (int64_t i = 0; i < state.range(0); ++i)
    store->set("key" + std::to_string(i),
               "value of setting " + std::to_string(i));
  std::string value;
  for (auto _ : state)
    benchmark::DoNotOptimize(store->get("key0", value));
  KELO::SettingsJson::Destroy();
  removeDir(dir);
}
BENCHMARK(BM_JsonGet)->Arg(64)->Unit(benchmark::kNanosecond);

void BM_SQLiteSet(benchmark::State &state) {
  const std::string dir = makeDir();
  SettingsSQLite *store = SettingsSQLite::Create(dir + "/kelo-settings.db");
  for (int64_t i = 0; i < state.range(0); ++i)
    store->set("key" + std::to_string(i),
               "value of setting " + std::to_string(i));
  int64_t n = 0;
  for (auto _ : state)
    benchmark::DoNotOptimize(store->set("bench", std::to_string(n++)));
  SettingsSQLite::Destroy();
  removeDir(dir);
}
BENCHMARK(BM_SQLiteSet)
    ->Arg(1)
    ->Arg(64)
    ->Arg(512)
    ->Unit(benchmark::kMicrosecond);

void BM_SQLiteGet(benchmark::State &state) {
  const std::string dir = makeDir();
  SettingsSQLite *store = SettingsSQLite::Create(dir + "/kelo-settings.db");
  for (int64_t i = 0; i < state.range(0); ++i)
    store->set("key" + std::to_string(i),
               "value of setting " + std::to_string(i));
  std::string value;
  for (auto _ : state)
    benchmark::DoNotOptimize(store->get("key0", value));
  SettingsSQLite::Destroy();
  removeDir(dir);
}
BENCHMARK(BM_SQLiteGet)->Arg(64)->Unit(benchmark::kMicrosecond);

} // namespace
