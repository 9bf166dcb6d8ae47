// The six entry points: the checks of the caller's arguments and the line of
// every call, the client's work left to Client. A refused call on a live client
// is logged too, with its status, so the file shows what the caller got wrong.
#include <memory>
#include <new>

#include "standins/usagereporting/Client.h"
#include "standins/usagereporting/UsageReporting.h"

namespace {

// Nothing may leave an entry point as an exception: the caller is no C++ of
// ours and would not survive it.
template <class Body>
int Guarded(Body body) {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return kOutOfMemory;
  } catch (...) {
    return ERROR_INTERNAL_ERROR;
  }
}

int32_t CreateClient(Client** client, int version, const wchar_t* productName, const wchar_t* salesChannel,
                     const wchar_t* dbPath) {
  // Refusals before the file is open leave no line: there is nowhere to put one.
  if (version != kInterfaceVersion) return kVersionMismatch;
  if (productName == nullptr || *productName == 0) return kMissingArgument;
  FaultMode faults;
  if (!ReadFaultMode(&faults)) return kBadFaultSetting;
  std::wstring folder;
  int32_t status = ChooseReportFolder(productName, dbPath, &folder);
  if (status == kOk) status = MakeFolders(folder);
  ScopedFile file;
  if (status == kOk) status = OpenReportFile(folder, &file);
  if (status != kOk) return status;

  std::unique_ptr<Client> made(new Client(std::move(file), productName, salesChannel, faults));
  JsonObject args;
  args.Number("version", version).Text("productName", productName).Text("salesChannel", salesChannel);
  args.Text("dbPath", dbPath);
  // A Create failing on request still leaves its line, so a test sees that the
  // program under test asked.
  status = made->Log("Create", args, faults.createStatus);
  if (status == kOk) *client = made.release();
  return status;
}

}  // namespace

extern "C" {

int UsageReportingCreate(Client** client, int version, const wchar_t* productName, const wchar_t* salesChannel,
                         const wchar_t* dbPath) {
  if (client == nullptr) return kMissingArgument;
  *client = nullptr;
  return Guarded([&] { return CreateClient(client, version, productName, salesChannel, dbPath); });
}

int UsageReportingDestroy(Client* client, int version) {
  if (client == nullptr) return kMissingArgument;
  return Guarded([&] {
    JsonObject args;
    args.Number("version", version);
    // A caller of another version may mean another object: keep it alive.
    if (version != kInterfaceVersion) return client->Log("Destroy", args, kVersionMismatch);
    int32_t status = client->Log("Destroy", args, kOk);
    delete client;
    return status;
  });
}

int UsageReportingSetProperty(Client* self, const wchar_t* name, const wchar_t* value) {
  if (self == nullptr) return kMissingArgument;
  return Guarded([&] {
    JsonObject args;
    args.Text("name", name).Text("value", value);
    return self->Log("SetProperty", args, name != nullptr && value != nullptr ? kOk : kMissingArgument);
  });
}

int UsageReportingReport(Client* self, const wchar_t* eventName) {
  if (self == nullptr) return kMissingArgument;
  return Guarded([&] {
    JsonObject args;
    args.Text("eventName", eventName);
    return self->Log("Report", args, eventName != nullptr ? kOk : kMissingArgument);
  });
}

int UsageReportingBeginReport(Client* self, const wchar_t* name, int* handle) {
  if (self == nullptr) return kMissingArgument;
  return Guarded([&] { return self->Begin(name, handle); });
}

int UsageReportingEndReport(Client* self, const wchar_t* name, int handle) {
  if (self == nullptr) return kMissingArgument;
  return Guarded([&] { return self->End(name, handle); });
}

}  // extern "C"
