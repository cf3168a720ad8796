; Made by scripts/package.sh, which defines VERSION, FULL_VERSION, PROGRAMS (a folder with x64 and x86), TREE (the source
; tree) and OUTPUT, and writes associations.nsh, the macro of all formats that are read, and codecs.nsh, that of the codec
; libraries that come along.
;
; Installs for the user who runs it, without administrator's rights, and leaves what opens a file to the user's choice:
; the studio appears under "Open with" of every format that it reads, and becomes the program of instruments and banks
; where no other program has taken them, if that is ticked.
Unicode true
SetCompressor /SOLID lzma
!include MUI2.nsh
!include LogicLib.nsh
!include x64.nsh
!include FileFunc.nsh
; An installer of 64 bits need not ask what it runs on.
!pragma warning disable 6012
!include associations.nsh
!include codecs.nsh

!define NAME "Vemko Studio"
!define MAKER "Quorvel-Labs"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\${NAME}"
!define PROGRAM_KEY "Software\Classes\Applications\vemko-studio.exe"
!define CAPABILITIES "Software\${MAKER}\${NAME}\Capabilities"
!define CLASS_PREFIX "VemkoStudio"

Name "${NAME}"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\${NAME}"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
RequestExecutionLevel user
ManifestDPIAware true
BrandingText "${NAME} ${VERSION}"
VIProductVersion "${FULL_VERSION}"
VIAddVersionKey "ProductName" "${NAME}"
VIAddVersionKey "CompanyName" "${MAKER}"
VIAddVersionKey "FileDescription" "${NAME} installer"
VIAddVersionKey "FileVersion" "${FULL_VERSION}"
VIAddVersionKey "LegalCopyright" "MIT License"

!define MUI_ICON "${TREE}\data\windows\vemko-studio.ico"
!define MUI_UNICON "${TREE}\data\windows\vemko-studio.ico"
!define MUI_COMPONENTSPAGE_SMALLDESC
!define MUI_FINISHPAGE_RUN "$INSTDIR\vemko-studio.exe"
!insertmacro MUI_PAGE_LICENSE "${TREE}\LICENSE"
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

!define SHCNE_ASSOCCHANGED 0x08000000
!macro TellShell
  System::Call 'shell32::SHChangeNotify(i ${SHCNE_ASSOCCHANGED}, i 0, p 0, p 0)'
!macroend

; A class of its own for each format, so that each keeps its description.
!macro Offer EXTENSION DESCRIPTION IS_BANK
  WriteRegStr HKCU "Software\Classes\${CLASS_PREFIX}.${EXTENSION}" "" "${DESCRIPTION}"
  WriteRegStr HKCU "Software\Classes\${CLASS_PREFIX}.${EXTENSION}\DefaultIcon" "" "$INSTDIR\vemko-studio.exe,0"
  WriteRegStr HKCU "Software\Classes\${CLASS_PREFIX}.${EXTENSION}\shell\open\command" "" '"$INSTDIR\vemko-studio.exe" "%1"'
  WriteRegStr HKCU "Software\Classes\.${EXTENSION}\OpenWithProgids" "${CLASS_PREFIX}.${EXTENSION}" ""
  WriteRegStr HKCU "${PROGRAM_KEY}\SupportedTypes" ".${EXTENSION}" ""
  WriteRegStr HKCU "${CAPABILITIES}\FileAssociations" ".${EXTENSION}" "${CLASS_PREFIX}.${EXTENSION}"
!macroend

!macro TakeUnlessTaken EXTENSION DESCRIPTION IS_BANK
!if ${IS_BANK} == 1
  ReadRegStr $0 HKCR ".${EXTENSION}" ""
  ${If} $0 == ""
    WriteRegStr HKCU "Software\Classes\.${EXTENSION}" "" "${CLASS_PREFIX}.${EXTENSION}"
  ${EndIf}
!endif
!macroend

!macro Withdraw EXTENSION DESCRIPTION IS_BANK
  DeleteRegKey HKCU "Software\Classes\${CLASS_PREFIX}.${EXTENSION}"
  DeleteRegValue HKCU "Software\Classes\.${EXTENSION}\OpenWithProgids" "${CLASS_PREFIX}.${EXTENSION}"
  ReadRegStr $0 HKCU "Software\Classes\.${EXTENSION}" ""
  ${If} $0 == "${CLASS_PREFIX}.${EXTENSION}"
    DeleteRegValue HKCU "Software\Classes\.${EXTENSION}" ""
  ${EndIf}
  DeleteRegKey /ifempty HKCU "Software\Classes\.${EXTENSION}\OpenWithProgids"
  DeleteRegKey /ifempty HKCU "Software\Classes\.${EXTENSION}"
!macroend

!macro Remove FILE
  Delete "$INSTDIR\${FILE}"
!macroend

Section "Programs" SectionPrograms
  SectionIn RO
  SetOutPath "$INSTDIR"
  ${If} ${RunningX64}
    File "${PROGRAMS}\x64\*"
  ${Else}
    File "${PROGRAMS}\x86\*"
  ${EndIf}
  File "/oname=LICENSE.txt" "${TREE}\LICENSE"
  File "${PROGRAMS}\LIBRARIES.txt"
  File "${TREE}\README.md"
  SetOutPath "$INSTDIR\examples"
  File "${TREE}\examples\organ.wav" "${TREE}\examples\organ.sfz"
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"

  CreateDirectory "$SMPROGRAMS\${NAME}"
  CreateShortcut "$SMPROGRAMS\${NAME}\${NAME}.lnk" "$INSTDIR\vemko-studio.exe"
  CreateShortcut "$SMPROGRAMS\${NAME}\Command line.lnk" "$SYSDIR\cmd.exe" '/k "set PATH=$INSTDIR;%PATH%& vemko --help"' \
    "$INSTDIR\vemko.exe"

  WriteRegStr HKCU "${PROGRAM_KEY}" "FriendlyAppName" "${NAME}"
  WriteRegStr HKCU "${PROGRAM_KEY}\shell\open\command" "" '"$INSTDIR\vemko-studio.exe" "%1"'
  WriteRegStr HKCU "${CAPABILITIES}" "ApplicationName" "${NAME}"
  WriteRegStr HKCU "${CAPABILITIES}" "ApplicationDescription" "Opens, converts and edits sampled sound"
  WriteRegStr HKCU "Software\RegisteredApplications" "${NAME}" "${CAPABILITIES}"
  !insertmacro ForEveryFormat Offer

  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "${NAME}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\vemko-studio.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "${MAKER}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" $0
  !insertmacro TellShell
SectionEnd

Section "Open instruments and banks" SectionBanks
  !insertmacro ForEveryFormat TakeUnlessTaken
  !insertmacro TellShell
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionPrograms} "The studio and the command line, and an example to try them with."
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionBanks} "Makes the studio the program of instruments and banks that no other program opens."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

; The settings stay for the next installation, and so do codec libraries that the user has put into the folder.
Section "Uninstall"
  Delete "$INSTDIR\vemko.exe"
  Delete "$INSTDIR\vemko-studio.exe"
  !insertmacro ForEveryCodec Remove
  Delete "$INSTDIR\LICENSE.txt"
  Delete "$INSTDIR\LIBRARIES.txt"
  Delete "$INSTDIR\README.md"
  Delete "$INSTDIR\examples\organ.wav"
  Delete "$INSTDIR\examples\organ.sfz"
  RMDir "$INSTDIR\examples"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\${NAME}\${NAME}.lnk"
  Delete "$SMPROGRAMS\${NAME}\Command line.lnk"
  RMDir "$SMPROGRAMS\${NAME}"
  !insertmacro ForEveryFormat Withdraw
  DeleteRegKey HKCU "${PROGRAM_KEY}"
  DeleteRegValue HKCU "Software\RegisteredApplications" "${NAME}"
  DeleteRegKey HKCU "${CAPABILITIES}"
  DeleteRegKey /ifempty HKCU "Software\${MAKER}\${NAME}"
  DeleteRegKey /ifempty HKCU "Software\${MAKER}"
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
  !insertmacro TellShell
SectionEnd
