// What the engine tells of languages and texts after the walk, on request
// (/languages, /select-language=, /texts): it stands in for the front end's
// language dialog, through the same interfaces, so that a script's languages
// can be tried without a window.
//
//   languages: 2 (current: en-US)
//     en-US "English" installed
//     de-DE "Deutsch" not installed "(download)"
//   select-language de-DE: done
//   current language: de-DE
//   texts: 2
//     IDS_Cancel=Abbrechen
//     IDS_Welcome=Willkommen
#pragma once

#include <string>

#include "host/Options.h"

// The report for options, empty when none asks for one. Selecting may download
// and run a language package.
std::wstring LanguageReport(const HostOptions& options);
