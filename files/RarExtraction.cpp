#include "files/RarExtraction.h"

#include <memory>
#include <vector>

#include "files/UnrarLibrary.h"

namespace {

// Opens archive for one pass, with a comment buffer and no callback. On a failed
// open the library may still give a handle; it is closed here, and none comes
// back.
ScopedRarArchive OpenArchive(const UnrarApi& api, const wchar_t* archive, unsigned int mode, int* result) {
  std::vector<char> comments(kUnrarCommentBufferSize);
  RAROpenArchiveDataEx data = {};
  data.ArcNameW = const_cast<wchar_t*>(archive);
  data.OpenMode = mode;
  data.CmtBuf = comments.data();
  data.CmtBufSize = kUnrarCommentBufferSize;
  ScopedRarArchive opened(api.RAROpenArchiveEx(&data));
  *result = static_cast<int>(data.OpenResult);
  if (*result != ERAR_SUCCESS) opened.Reset();
  return opened;
}

// The start of a pass: the library bound, the archive open in mode. None, with
// the reason in pass, when either fails.
ScopedRarArchive BeginPass(UnrarSession& session, const wchar_t* archive, unsigned int mode, RarPass* pass) {
  if (session.Status() != ERROR_SUCCESS) {
    pass->stop = RarStop::kLibrary;
    pass->code = static_cast<int32_t>(session.Status());
    return ScopedRarArchive();
  }
  int result = ERAR_SUCCESS;
  ScopedRarArchive opened = OpenArchive(session.Api(), archive, mode, &result);
  if (result != ERAR_SUCCESS) {
    pass->stop = RarStop::kOpen;
    pass->code = result;
  }
  return opened;
}

// The pass as an entry that failed ends it.
RarPass EntryFailed(RarPass& pass, int code, const RARHeaderDataEx& header) {
  pass.stop = RarStop::kEntry;
  pass.code = code;
  pass.entry = header.FileNameW;
  return pass;
}

// The pass as the end of the headers leaves it: a damaged header is told apart;
// any other end, the archive's above all, ends the pass as it stands.
RarPass HeadersEnded(RarPass& pass, int headerCode) {
  if (headerCode == ERAR_BAD_DATA) {
    pass.stop = RarStop::kBrokenHeader;
    pass.code = ERAR_BAD_DATA;
  }
  return pass;
}

bool Cancelled(HANDLE cancel) {
  return cancel != INVALID_HANDLE_VALUE && cancel != nullptr && WaitForSingleObject(cancel, 0) == WAIT_OBJECT_0;
}

}  // namespace

namespace {

// One pass over the archive: each entry's unpacked size is counted, then step
// handles the entry with the library and says whether the pass goes on (it
// sets the pass's end itself when it stops it).
template <class Step>
RarPass RunPass(const wchar_t* archive, unsigned int mode, Step step) {
  RarPass pass;
  UnrarSession session;
  ScopedRarArchive opened = BeginPass(session, archive, mode, &pass);
  if (!opened) return pass;
  const UnrarApi& api = session.Api();
  // The header is 10 KiB: it lives on the heap, not on the stack.
  std::unique_ptr<RARHeaderDataEx> header(new RARHeaderDataEx());
  int headerCode;
  while ((headerCode = api.RARReadHeaderEx(opened.Get(), header.get())) == ERAR_SUCCESS) {
    pass.bytes += UnrarEntrySize(*header);
    if (!step(api, opened.Get(), *header, pass)) return pass;
  }
  return HeadersEnded(pass, headerCode);
}

}  // namespace

RarPass SumRarArchive(const wchar_t* archive) {
  return RunPass(archive, RAR_OM_LIST, [](const UnrarApi& api, HANDLE opened, const RARHeaderDataEx& header,
                                          RarPass& pass) {
    int code = api.RARProcessFile(opened, RAR_SKIP, nullptr, nullptr);
    if (code != ERAR_SUCCESS) EntryFailed(pass, code, header);
    return code == ERAR_SUCCESS;
  });
}

RarPass ExtractRarArchive(const wchar_t* archive, const wchar_t* folder, HANDLE cancel, const RarProgress& progress) {
  return RunPass(archive, RAR_OM_EXTRACT, [&](const UnrarApi& api, HANDLE opened, const RARHeaderDataEx& header,
                                              RarPass& pass) {
    // The entry is counted before it is extracted: the progress reported after
    // it includes it.
    int code = api.RARProcessFileW(opened, RAR_EXTRACT, const_cast<wchar_t*>(folder), nullptr);
    if (code != ERAR_SUCCESS) {
      EntryFailed(pass, code, header);
      return false;
    }
    if (progress) progress(header.FileNameW, pass.bytes);
    // A zero-timeout wait after every entry: under Wine each is a round trip to
    // the wineserver, and still the only place where a long extraction can stop.
    if (Cancelled(cancel)) {
      pass.stop = RarStop::kCancelled;
      pass.code = ERROR_CANCELLED;
      return false;
    }
    return true;
  });
}
