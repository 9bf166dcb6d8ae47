// The engine's store and its release at the end of a run.
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "host/Options.h"
#include "host/Shutdown.h"
#include "host/VariableStore.h"
#include "tests/support/PluginFixture.h"

namespace {

// Records the order in which services are released.
std::vector<std::string>* g_released = nullptr;

class Recorder : public CSelfFree {
 public:
  explicit Recorder(const char* name) : name_(name) {}
  ~Recorder() { g_released->push_back(name_); }
  SELFFREE_DESTRUCTOR(Recorder)

 private:
  std::string name_;
};

}  // namespace

TEST(VariableStoreTest, NamesAreCopiedAndZeroMeansAbsent) {
  VariableStore& store = VariableStore::Instance();
  store.Clear();
  char* name = _strdup("int_Copied");
  Put(name, 42);
  memset(name, 'x', strlen(name));
  free(name);
  EXPECT_EQ(Get("int_Copied"), 42u);
  EXPECT_EQ(Get(nullptr), 0u);
  Put(nullptr, 5);
  Put("int_Copied", 0);
  EXPECT_EQ(Get("int_Copied"), 0u);
  EXPECT_TRUE(store.Entries("int_").empty());
  Put("int_Wide", 0x100000000ull);
  EXPECT_EQ(Get("int_Wide"), 0x100000000ull);
  EXPECT_EQ(Get("String_Wide"), 0u) << "the prefix is part of the name";
  store.Clear();
}

TEST(VariableStoreTest, ThreadsPutAndGetAtOnce) {
  VariableStore::Instance().Clear();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 1; i <= 2000; ++i) {
        std::string name = "int_T" + std::to_string(t) + "_" + std::to_string(i % 50);
        Put(name.c_str(), i);
        Get(name.c_str());
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(VariableStore::Instance().Entries("int_T").size(), 200u);
  VariableStore::Instance().Clear();
}

TEST(ReleaseStoreTest, ServicesGoOnceAndTheLoggerLast) {
  VariableStore& store = VariableStore::Instance();
  store.Clear();
  std::vector<std::string> released;
  g_released = &released;
  Recorder* shared = new Recorder("shared");
  store.Put("SelfFree_LoggerApi", reinterpret_cast<StoreValue>(new Recorder("logger")));
  store.Put("SelfFree_ErrorApi", reinterpret_cast<StoreValue>(new Recorder("errors")));
  store.Put("SelfFree_A", reinterpret_cast<StoreValue>(shared));
  store.Put("SelfFree_B", reinterpret_cast<StoreValue>(shared));
  store.Put("String_Text", reinterpret_cast<StoreValue>(MakeString(L"t")));
  Recorder* engineOwned = new Recorder("engine");
  ReleaseStore({engineOwned, shared});
  std::vector<std::string> expected = {"shared", "errors", "logger", "engine"};
  EXPECT_EQ(released, expected);
  EXPECT_EQ(store.Get("SelfFree_A"), 0u);
  g_released = nullptr;
}

TEST(HostOptionsTest, EngineSwitchesAreTakenAndScriptSwitchesLeft) {
  HostOptions options;
  std::wstring error;
  ASSERT_TRUE(ParseOptions({L"/silent", L"/TRACE", L"/set:String_InstallPath=C:\\a=b\\", L"script.xml", L"/path=x"},
                           &options, &error));
  EXPECT_TRUE(options.trace);
  EXPECT_EQ(options.script, L"script.xml");
  ASSERT_EQ(options.presets.size(), 1u);
  EXPECT_EQ(options.presets[0].first, L"String_InstallPath");
  EXPECT_EQ(options.presets[0].second, L"C:\\a=b\\");

  HostOptions bad;
  EXPECT_FALSE(ParseOptions({L"/set:HANDLE_X=1", L"s.xml"}, &bad, &error));
  HostOptions embedded;
  EXPECT_TRUE(ParseOptions({L"/trace"}, &embedded, &error)) << "no script: the embedded one runs";
  EXPECT_TRUE(embedded.script.empty());
}
