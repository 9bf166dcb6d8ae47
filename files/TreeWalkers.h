// The three recursive walks over a directory tree behind CopyDir and Rmdir;
// DeleteTree also empties a folder for whoever needs it cleared.
//
// Plain functions without state or locks; a tree that changes during a walk is
// seen as the system shows it. Every path is held in a buffer of MAX_PATH (260)
// characters: a path that does not fit ends the process (see engine/Bounded.h).
// Entries named "." and ".." are skipped.
//
// Directories are recognised by FILE_ATTRIBUTE_DIRECTORY alone, so a directory
// junction is walked into like any other directory.
#pragma once

#include <cstdint>
#include <vector>

// Copies the tree under sourceDir into destinationDir, creating destinationDir
// (but not its parents). Both paths must end in a backslash: the listing pattern
// is sourceDir followed by "*", so without one the walk lists sourceDir's own
// name in its parent. Existing directories are used as they are; existing files
// are replaced only when overwrite is true. The first file that cannot be copied
// stops the walk at every level; what was copied stays. Returns 0 or the system
// error that stopped it. Logs nothing.
uint32_t CopyTree(const wchar_t* sourceDir, const wchar_t* destinationDir, bool overwrite);

// Queues every file under path, then path's directories bottom-up, for deletion
// at the next boot (MoveFileExW with MOVEFILE_DELAY_UNTIL_REBOOT; those results
// are not looked at). Files come before the directory that holds them, the order
// in which the system can carry the list out. fileCount, when given, counts every
// file met. With a filter only files whose path contains it (case-sensitive) are
// queued and no directory is. Returns 1359 when path cannot be listed, otherwise
// the error that ended a listing, or 0. Logs nothing.
uint32_t ScheduleTreeDelete(const wchar_t* path, uint32_t* fileCount, const wchar_t* filter);

// What DeleteTree does beside deleting.
struct TreeDelete {
  // Whatever cannot go now is queued for the next boot: a locked file leaves a
  // chain of entries, the file first and then each directory above it, since
  // those cannot be removed while it stays.
  bool deleteAfterReboot = false;
  // Empties path but leaves path itself (a program group that is about to be
  // written again, say).
  bool keepRoot = false;
  // Counts every file met, when given.
  uint32_t* fileCount = nullptr;
  // Only files whose path contains it (case-sensitive) are deleted, and no
  // directory is.
  const wchar_t* filter = nullptr;
  // A directory whose full path equals an entry (case-insensitive, whole path, in
  // the form the walk builds it) is left alone with all it holds, so its parents
  // stay too.
  const std::vector<wchar_t*>* skipFolders = nullptr;
};

// Deletes the tree under path now, read-only files included, as options say. A
// failure in a subdirectory does not reach its parent, which just finds itself
// not empty. A path that cannot be listed is left alone. Logs only a file that
// could not be queued.
void DeleteTree(const wchar_t* path, const TreeDelete& options);

// The same, with the options one by one and path itself removed.
void DeleteTree(const wchar_t* path, bool deleteAfterReboot, uint32_t* fileCount, const wchar_t* filter,
                const std::vector<wchar_t*>* skipFolders);
