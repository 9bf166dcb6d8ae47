// The archives the Unrar tests extract, made by rar before the tests run
// (make-unrar-archives.sh, a CTest fixture), and the folder helpers to check what
// came out.
#pragma once

#include "tests/files/FileHelpers.h"

#include <windows.h>

#include <string>
#include <vector>

// The fixture folder beside the test programs' folders, with a trailing backslash.
std::wstring ArchivesFolder();
// An archive (or file) of the fixture folder by name, as a full path.
std::wstring Archive(const wchar_t* name);
// The tree that compressed.rar, stored.rar and solid.rar hold.
std::wstring SourceTree();

// A new empty folder under %TEMP%, named after stem and unique to this run.
std::wstring MakeTempFolder(const wchar_t* stem);

// Every file and folder under root, relative, with '\' separators; folders end in
// '\'. Sorted.
std::vector<std::wstring> ListTree(const std::wstring& root);
// The number of files (not folders) under root.
size_t CountFiles(const std::wstring& root);
// Empty when both trees hold the same names and bytes, otherwise what differs.
std::string CompareTrees(const std::wstring& expected, const std::wstring& actual);

// UTF-8 and back, for texts that meet the engine's output.
std::string Narrow(const std::wstring& text);
std::wstring Widen(const std::string& text);
