// The two passes over a RAR archive that an install makes through the UnRAR
// library (files/UnrarLibrary.h): the first sums the unpacked sizes of the
// entries, so that progress can follow bytes; the second extracts every entry
// into a folder, reports each extracted entry, and looks at a cancel handle
// between two entries.
//
// Each pass holds the library for itself from the open to the close (an
// UnrarSession), so two threads take turns. The archive is closed on every way
// out, a cancelled extraction included, so nothing keeps it locked afterwards.
//
// The passes log nothing: what ended a pass comes back in a RarPass, and each
// caller says it in its own words. The progress callback runs with the library
// held: it may take the store lock (a session comes before storeLock), but must
// not wait for another pass.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

// What ended a pass.
enum class RarStop {
  kEnd,           // no more headers: the archive's end, or one the library would not read past
  kLibrary,       // the library could not be bound; code 126 or 127
  kOpen,          // the archive could not be opened; code is the library's open result
  kEntry,         // an entry failed to skip or extract; code is the library's, entry its name
  kBrokenHeader,  // a damaged header; code 12 (ERAR_BAD_DATA)
  kCancelled,     // the cancel handle was signalled after an entry; code 1223 (ERROR_CANCELLED)
};

struct RarPass {
  RarStop stop = RarStop::kEnd;
  int32_t code = 0;
  // The unpacked bytes of the entries the pass reached, the one that failed
  // included: with kEnd, the first pass's total.
  int64_t bytes = 0;
  // With kEntry: the entry that failed, as the archive names it.
  std::wstring entry;
};

// Called after each extracted entry with its name and the unpacked bytes of all
// entries so far, this one included.
typedef std::function<void(const wchar_t* entry, int64_t doneBytes)> RarProgress;

// The first pass: lists the archive and sums its unpacked sizes on 64 bits,
// skipping every entry.
RarPass SumRarArchive(const wchar_t* archive);

// The second pass: extracts every entry into folder (which must not be null or
// empty, or the library would extract into the current folder), making the
// folders it needs. Entries named "..\x" stay inside folder, and an entry that
// fails its check is removed by the library. The first entry that fails ends the
// pass; what was extracted before it stays. cancel may be null or
// INVALID_HANDLE_VALUE (never cancelled); progress may be empty.
RarPass ExtractRarArchive(const wchar_t* archive, const wchar_t* folder, HANDLE cancel, const RarProgress& progress);
