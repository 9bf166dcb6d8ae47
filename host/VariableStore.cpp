#include "host/VariableStore.h"

VariableStore& VariableStore::Instance() {
  static VariableStore store;
  return store;
}

VariableStore::VariableStore() { InitializeSRWLock(&lock_); }

StoreValue VariableStore::Get(const char* name) {
  if (name == nullptr) return 0;
  AcquireSRWLockShared(&lock_);
  auto found = values_.find(name);
  StoreValue value = found == values_.end() ? 0 : found->second;
  ReleaseSRWLockShared(&lock_);
  return value;
}

void VariableStore::Put(const char* name, StoreValue value) {
  if (name == nullptr) return;
  {
    std::function<StoreValue(StoreValue)> filter;
    AcquireSRWLockShared(&lock_);
    auto found = filters_.find(name);
    if (found != filters_.end()) filter = found->second;
    ReleaseSRWLockShared(&lock_);
    // Outside the lock: a filter may use the store.
    if (filter) value = filter(value);
  }
  AcquireSRWLockExclusive(&lock_);
  if (value == 0) {
    values_.erase(name);
  } else {
    values_[name] = value;
  }
  ReleaseSRWLockExclusive(&lock_);
}

std::vector<std::pair<std::string, StoreValue>> VariableStore::Entries(const char* prefix) {
  std::vector<std::pair<std::string, StoreValue>> entries;
  std::string start(prefix);
  AcquireSRWLockShared(&lock_);
  for (auto it = values_.lower_bound(start); it != values_.end() && it->first.compare(0, start.size(), start) == 0;
       ++it) {
    entries.push_back(*it);
  }
  ReleaseSRWLockShared(&lock_);
  return entries;
}

void VariableStore::SetPutFilter(const std::string& name, std::function<StoreValue(StoreValue)> filter) {
  AcquireSRWLockExclusive(&lock_);
  if (filter) {
    filters_[name] = std::move(filter);
  } else {
    filters_.erase(name);
  }
  ReleaseSRWLockExclusive(&lock_);
}

void VariableStore::Clear() {
  AcquireSRWLockExclusive(&lock_);
  values_.clear();
  ReleaseSRWLockExclusive(&lock_);
}

extern "C" StoreValue Get(const char* name) { return VariableStore::Instance().Get(name); }

extern "C" void Put(const char* name, StoreValue value) { VariableStore::Instance().Put(name, value); }
