// Fault caught: the store, where all commands meet, loses values under threads or releases services in the wrong order.
#include <thread>

#include "host/Shutdown.h"
#include "tests/support/PluginFixture.h"

namespace {

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

TEST(VariableStoreTest, NamesAreCopiedZeroMeansAbsentAndThreadsMayMeet) {
  VariableStore& store = VariableStore::Instance();
  store.Clear();
  std::string name = "int_Copied";
  Put(&name[0], 42);
  name[4] = 'X';
  EXPECT_EQ(Get("int_Copied"), 42u);
  Put("int_Copied", 0);
  EXPECT_TRUE(store.Entries("int_").empty());
  Put("int_Wide", 0x100000000ull);
  EXPECT_EQ(Get("int_Wide"), 0x100000000ull);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 1; i <= 2000; ++i) Put(("int_T" + std::to_string(t) + "_" + std::to_string(i % 50)).c_str(), i);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(store.Entries("int_T").size(), 200u);
  store.Clear();
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
  ReleaseStore({new Recorder("engine"), shared});
  EXPECT_EQ(released, (std::vector<std::string>{"shared", "errors", "logger", "engine"}));
  g_released = nullptr;
}
