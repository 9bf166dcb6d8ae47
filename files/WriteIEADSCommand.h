// WriteIEADS: marks a file as downloaded from the Internet.
//
//   <WriteIEADS pathFile="[InstallPath]tool.exe"/>
//
// Writes the alternate data stream "<pathFile>:Zone.Identifier" with the 24
// characters "[ZoneTransfer]\r\nZoneId=3" and their terminating zero byte (25
// bytes, narrow): zone 3 is the Internet zone. An earlier stream is replaced and
// the file's own content is not touched. The stream's path is built in a buffer
// of MAX_PATH characters: a pathFile that leaves no room for ":Zone.Identifier"
// ends the process. Failures (no such file, a volume without streams) are logged
// and the command returns 0.
#pragma once

#include "engine/InstallCommand.h"
#include "files/FileTexts.h"

class CWriteIEADSCommand : public CInstallCommand {
 public:
  static constexpr FrameStyle kFrame{filetext::kWriteIEADSTag, kFrameNoBeginLine};  // begins with the file's name

  int32_t Execute(HANDLE cancelHandle, CRITICAL_SECTION* storeLock) override;
  // pathFile is required.
  int32_t Load(IXMLDOMNamedNodeMap* attributes) override;

  ScopedText pathFile;

  SELFFREE_DESTRUCTOR(CWriteIEADSCommand)
};
