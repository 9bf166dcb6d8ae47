// The store's well-known variable names: the ones the engine publishes, the
// services commands publish, and the protocol variables commands share. A name
// that comes from a script attribute is built with VarName instead.
// The misspellings are part of the interface.
#pragma once

namespace storename {

// Published by the engine
constexpr const char* kCommands = "commands";
constexpr const char* kDecrypter = "SelfFree_Decrypter";
constexpr const char* kMultiStringApi = "SelfFree_MultiStringApi";
constexpr const char* kDownloaderApi = "SelfFree_DownloaderApi";
constexpr const char* kMessageBox = "MessageBox";
constexpr const char* kReturnCode = "int_ReturnCode";
constexpr const char* kApplicationPath = "String_ApplicationPath";
constexpr const char* kCommandLine = "String_CommandLine";
constexpr const char* kCurrentDll = "HMODULE_CurrentDll";
constexpr const char* kAdditionalDll = "HMODULE_AdditionalDll";
constexpr const char* kLangDll = "HMODULE_LangDll";

// Services published by commands
constexpr const char* kLoggerApi = "SelfFree_LoggerApi";
constexpr const char* kErrorApi = "SelfFree_ErrorApi";
constexpr const char* kResourceManager = "SelfFree_ResourceManager";
constexpr const char* kMultiLanguageApi = "SelfFree_MultiLanguageApi";
constexpr const char* kUsageReportingApi = "SelfFree_UsageReportingApi";
constexpr const char* kHtmlayoutRefresher = "SelfFree_HtmlayoutRefresher";

// Probes and guards
constexpr const char* kX64 = "int_x64";
constexpr const char* kX86 = "int_x86";
constexpr const char* kArchitecture = "String_Arhitecture";
constexpr const char* kParentCommandLine = "String_ParrentCommandLine";
constexpr const char* kSingleInstance = "HANDLE_SingleInstance";
constexpr const char* kIsWindowsXp = "int_IsWindowsXp";
constexpr const char* kIsWindowsVista = "int_IsWindowsVista";
constexpr const char* kIsWindows7 = "int_IsWindows7";

// Command line
constexpr const char* kIsSilent = "int_IsSilent";
constexpr const char* kIsUpdate = "int_IsUpdate";
constexpr const char* kSendAur = "int_SendAur";
constexpr const char* kForceFail = "int_ForceFail";
constexpr const char* kCmdLineInstallPath = "String_CmdLineInstallPath";
constexpr const char* kCmdLineDefaultLanguage = "String_CmdLineDefaultLanguage";

// Product and install
constexpr const char* kProductName = "String_ProductName";
constexpr const char* kClearProductName = "String_ClearProductName";
constexpr const char* kManufacturerName = "String_ManufacturerName";
constexpr const char* kInstallPath = "String_InstallPath";
constexpr const char* kCommonPrograms = "String_CommonPrograms";
constexpr const char* kCommonDesktopPath = "String_CommonDesktopPath";
constexpr const char* kCommonStartup = "String_CommonStartup";
constexpr const char* kIsVeltoInstalled = "int_IsVeltoInstalled";

// Progress protocol
constexpr const char* kInstallProgressPercent = "int_InstallProgressPercent";
constexpr const char* kInstallFailed = "int_InstallFailed";
constexpr const char* kInstallFailReason = "String_InstallFailReason";
constexpr const char* kInstallProgressText = "String_InstallProgressText";
constexpr const char* kInstallProgressEvent = "HANDLE_InstallProgressEv";
constexpr const char* kStartInstallEvent = "HANDLE_StartInstallEv";
constexpr const char* kRefreshEvent = "HANDLE_Refresh";          // soft refresh of the open pages
constexpr const char* kHardRefreshEvent = "HANDLE_HardRefresh";  // reload of the open pages
constexpr const char* kUserActionInstall = "int_UserActionInstall";
constexpr const char* kUserActionRepair = "int_UserActionRepair";
constexpr const char* kUserActionUpdate = "int_UserActionUpdate";
constexpr const char* kUserActionUninstall = "int_UserActionUninstall";
constexpr const char* kSetupCancelled = "int_SetupCancelled";  // the user closed the dialog before the end

// Languages
constexpr const char* kDefaultLanguage = "String_DefaultLanguage";
constexpr const char* kForceSingleLang = "String_ForceSingleLang";
constexpr const char* kLanguageMetricsSuffix = "String_LanguageMetricsSuffix";
constexpr const char* kMultiLanguageAvailable = "int_MultiLanguageAvailable";
constexpr const char* kIsLangRTL = "int_isLangRTL";
constexpr const char* kCloudLanguages = "MultiString_CloudLanguages";

// Licence
constexpr const char* kLicenseOwner = "String_LicenseOwner";
constexpr const char* kLicenseKey = "String_LicenseKey";
constexpr const char* kLicenseExpiry = "String_LicenseExpiry";
constexpr const char* kLicenseEdition = "String_LicenseEdition";
constexpr const char* kLicenseCompany = "String_LicenseCompany";

}  // namespace storename
