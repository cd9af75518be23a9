; The installer. tools/package runs it with VERSION, TREE (the folder that is packed), FILES (the lists of
; what lies in it), ICON and OUTPUT.
;
;   setup.exe [/S] [/AllUsers | /CurrentUser] [/MODULE=FOLDER] [/SHARED=FOLDER] [/SETSHARED=absent|yes|no]
;             [/D=FOLDER]
;
; FOLDER of /D, the last and without quotes, gets everything; vynhost.exe works with the module and the
; library there. A host that wants the module in a folder of its own gets a copy (/MODULE), one that has
; a shared directory gets the library into its Analysis folder (/SHARED). The machine's value of the shared
; directory is written where there is none (absent), always (yes) or never (no); removal brings back what
; was there before, unless somebody has changed it meanwhile.
Unicode true
Target amd64-unicode
SetCompressor /SOLID lzma
ManifestDPIAware true
RequestExecutionLevel highest
Name "Vynpack ${VERSION}"
OutFile "${OUTPUT}"
BrandingText " "

!include MUI2.nsh
!include LogicLib.nsh
!include FileFunc.nsh
!include nsDialogs.nsh
!include "${FILES}"

!define UNINSTALL_PARENT "Software\Microsoft\Windows\CurrentVersion\Uninstall"
!define UNINSTALL_KEY "${UNINSTALL_PARENT}\Vynpack"
!define SHARED_KEY "SOFTWARE\Orvane\Common\Installer"
!define SHARED_VALUE "OVSHAREDDIR64"
!define BEFORE ".before-vynpack"  ; what the file of another is called while ours is in its place

Var Scope      ; all or user
Var Module     ; folder of the host's copy of the module; empty: none
Var Shared     ; shared directory
Var SetShared  ; absent, yes or no
Var Present    ; the value that is there; empty: none
Var Top        ; the deepest folder that was there before

; --- Pages and texts -------------------------------------------------------------------------------------

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_ABORTWARNING
!insertmacro MUI_PAGE_LICENSE "${TREE}\LICENSE.txt"
Page custom ScopePage LeaveScopePage
!insertmacro MUI_PAGE_DIRECTORY
Page custom HostPage LeaveHostPage
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"
!insertmacro MUI_LANGUAGE "German"

!macro Text NAME ENGLISH GERMAN
  LangString ${NAME} ${LANG_ENGLISH} "${ENGLISH}"
  LangString ${NAME} ${LANG_GERMAN} "${GERMAN}"
!macroend
!insertmacro Text ScopeTitle "For whom" "Für wen"
!insertmacro Text ScopeSubtitle "Who may use Vynpack on this machine" "Wer Vynpack auf diesem Rechner benutzen darf"
!insertmacro Text ScopeAll "For everybody (needs administrator rights)" "Für alle (braucht Administratorrechte)"
!insertmacro Text ScopeUser "For me alone" "Nur für mich"
!insertmacro Text HostTitle "Measurement programs" "Messprogramme"
!insertmacro Text HostSubtitle "How other programs find the module and its library" "Wie andere Programme das Modul und seine Bibliothek finden"
!insertmacro Text HostModule "Copy the module VYNPACKM.dll into this folder of a program as well (empty: no):" \
  "Das Modul VYNPACKM.dll auch in diesen Ordner eines Programms kopieren (leer: nein):"
!insertmacro Text HostShared "Shared directory; the library lies in its folder Analysis:" \
  "Gemeinsames Verzeichnis; die Bibliothek liegt darin im Ordner Analysis:"
!insertmacro Text HostSet "Tell it to all programs of this machine" "Allen Programmen dieses Rechners mitteilen"
!insertmacro Text HostPresent "Now they are told:" "Bisher ist ihnen mitgeteilt:"
!insertmacro Text HostNoRights "(only an installation for everybody can do that)" "(das kann nur eine Installation für alle)"
!insertmacro Text NeedRights "This needs administrator rights. Nothing has been changed." \
  "Das braucht Administratorrechte. Es wurde nichts geändert."
!insertmacro Text BadOption "/SETSHARED must be absent, yes or no; yes needs /AllUsers. Nothing has been changed." \
  "/SETSHARED muss absent, yes oder no sein; yes braucht /AllUsers. Es wurde nichts geändert."
!insertmacro Text InUse "Files of Vynpack are in use. Close the programs that use them and try again. Nothing has been changed." \
  "Dateien von Vynpack werden benutzt. Schließen Sie die Programme und versuchen Sie es noch einmal. Es wurde nichts geändert."
!insertmacro Text WriteFailed "A file could not be written:" "Eine Datei konnte nicht geschrieben werden:"

!macro VersionTexts LANGUAGE DESCRIPTION RIGHTS
  VIAddVersionKey /LANG=${LANGUAGE} "ProductName" "Vynpack"
  VIAddVersionKey /LANG=${LANGUAGE} "CompanyName" "Orvane"
  VIAddVersionKey /LANG=${LANGUAGE} "FileDescription" "${DESCRIPTION}"
  VIAddVersionKey /LANG=${LANGUAGE} "FileVersion" "${VERSION}"
  VIAddVersionKey /LANG=${LANGUAGE} "ProductVersion" "${VERSION}"
  VIAddVersionKey /LANG=${LANGUAGE} "LegalCopyright" "${RIGHTS}"
!macroend
VIProductVersion "${VERSION}.0"
!insertmacro VersionTexts ${LANG_GERMAN} "Installation von Vynpack" "Alle Rechte beim Eigentümer des Projekts"
!insertmacro VersionTexts ${LANG_ENGLISH} "Installation of Vynpack" "All rights reserved by the project's owner"

; --- What is decided before anything is touched ------------------------------------------------------------

; The scope's default folder, and the choices of an installation that this one replaces.
Function TakeScope
  ${If} $Scope == "all"
    SetShellVarContext all
  ${Else}
    SetShellVarContext current
  ${EndIf}
FunctionEnd

Function DefaultFolder
  ReadRegStr $0 SHCTX "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $0 != ""
    StrCpy $INSTDIR $0
  ${ElseIf} $Scope == "all"
    StrCpy $INSTDIR "$PROGRAMFILES64\Vynpack"
  ${Else}
    StrCpy $INSTDIR "$LOCALAPPDATA\Programs\Vynpack"
  ${EndIf}
FunctionEnd

; The options that the command line gives, quoted in part or as a whole (as other shells do). What it does
; not give is empty; $9 is the folder of a quoted /D.
Var GivenScope
Var GivenModule
Var GivenShared
Var GivenSet
!macro TakeOption WORD LENGTH RESULT
  StrCpy $6 $5 ${LENGTH}
  ${If} $6 == "${WORD}"
    StrCpy ${RESULT} $5 "" ${LENGTH}
  ${EndIf}
!macroend
Function ReadCommandLine
  StrCpy $9 ""
  StrCpy $0 $CMDLINE
  System::Call 'shell32::CommandLineToArgvW(w r0, *i .r1) p .r2'
  StrCpy $3 1
  ${DoWhile} $3 < $1
    IntPtrOp $4 $3 * ${NSIS_PTR_SIZE}
    IntPtrOp $4 $2 + $4
    System::Call '*$4(w .r5)'
    ${If} $5 == "/AllUsers"
      StrCpy $GivenScope "all"
    ${ElseIf} $5 == "/CurrentUser"
      StrCpy $GivenScope "user"
    ${EndIf}
    !insertmacro TakeOption "/MODULE=" 8 $GivenModule
    !insertmacro TakeOption "/SHARED=" 8 $GivenShared
    !insertmacro TakeOption "/SETSHARED=" 11 $GivenSet
    !insertmacro TakeOption "/D=" 3 $9
    IntOp $3 $3 + 1
  ${Loop}
  System::Call 'kernel32::LocalFree(p r2)'
FunctionEnd

Function .onInit
  SetRegView 64
  UserInfo::GetAccountType
  Pop $R1
  StrCpy $Scope "user"
  ${If} $R1 == "Admin"
    StrCpy $Scope "all"
  ${EndIf}
  Call ReadCommandLine
  ${If} $GivenScope != ""
    StrCpy $Scope $GivenScope
  ${EndIf}
  ${If} $Scope == "all"
  ${AndIf} $R1 != "Admin"
    MessageBox MB_OK|MB_ICONSTOP $(NeedRights) /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}
  Call TakeScope
  ${If} $9 != ""
    StrCpy $INSTDIR $9
  ${EndIf}
  ${If} $INSTDIR == ""
    Call DefaultFolder
  ${EndIf}

  ReadRegStr $Module SHCTX "${UNINSTALL_KEY}" "Module"
  ReadRegStr $Shared SHCTX "${UNINSTALL_KEY}" "ChosenShared"
  ReadRegStr $SetShared SHCTX "${UNINSTALL_KEY}" "SetShared"
  ${If} $SetShared == ""
    StrCpy $SetShared "absent"
  ${EndIf}
  ${If} $GivenModule != ""
    StrCpy $Module $GivenModule
  ${EndIf}
  ${If} $GivenShared != ""
    StrCpy $Shared $GivenShared
  ${EndIf}
  ${If} $GivenSet != ""
    StrCpy $SetShared $GivenSet
  ${EndIf}
  ${If} $SetShared != "absent"
  ${AndIf} $SetShared != "no"
    ${If} $SetShared != "yes"
    ${OrIf} $Scope != "all"
      MessageBox MB_OK|MB_ICONSTOP $(BadOption) /SD IDOK
      SetErrorLevel 2
      Quit
    ${EndIf}
  ${EndIf}
  ReadRegStr $Present HKLM "${SHARED_KEY}" "${SHARED_VALUE}"
FunctionEnd

Function ScopePage
  UserInfo::GetAccountType
  Pop $0
  ${If} $0 != "Admin"
    Abort  ; there is no choice
  ${EndIf}
  !insertmacro MUI_HEADER_TEXT $(ScopeTitle) $(ScopeSubtitle)
  nsDialogs::Create 1018
  Pop $0
  ${NSD_CreateRadioButton} 0 10u 100% 12u $(ScopeAll)
  Pop $R1
  ${NSD_CreateRadioButton} 0 26u 100% 12u $(ScopeUser)
  Pop $R2
  ${If} $Scope == "all"
    ${NSD_Check} $R1
  ${Else}
    ${NSD_Check} $R2
  ${EndIf}
  nsDialogs::Show
FunctionEnd

Function LeaveScopePage
  StrCpy $R3 $Scope
  StrCpy $Scope "user"
  ${NSD_GetState} $R1 $0
  ${If} $0 == ${BST_CHECKED}
    StrCpy $Scope "all"
  ${EndIf}
  ${If} $R3 != $Scope
    Call TakeScope
    Call DefaultFolder
  ${EndIf}
FunctionEnd

Var ModuleField
Var SharedField
Var SetField

Function HostPage
  !insertmacro MUI_HEADER_TEXT $(HostTitle) $(HostSubtitle)
  nsDialogs::Create 1018
  Pop $0
  ${NSD_CreateLabel} 0 0 100% 10u $(HostModule)
  Pop $0
  ${NSD_CreateDirRequest} 0 11u 80% 12u $Module
  Pop $ModuleField
  ${NSD_CreateBrowseButton} 82% 11u 18% 12u "..."
  Pop $0
  ${NSD_OnClick} $0 BrowseModule
  ${NSD_CreateLabel} 0 34u 100% 10u $(HostShared)
  Pop $0
  StrCpy $1 $Shared
  ${If} $1 == ""
    StrCpy $1 $INSTDIR
  ${EndIf}
  ${NSD_CreateDirRequest} 0 45u 80% 12u $1
  Pop $SharedField
  ${NSD_CreateBrowseButton} 82% 45u 18% 12u "..."
  Pop $0
  ${NSD_OnClick} $0 BrowseShared
  ${NSD_CreateCheckbox} 0 64u 100% 12u $(HostSet)
  Pop $SetField
  ${If} $Scope != "all"
    EnableWindow $SetField 0
    ${NSD_CreateLabel} 12u 78u 100% 20u $(HostNoRights)
    Pop $0
  ${Else}
    ${If} $SetShared == "absent"
    ${AndIf} $Present == ""
    ${OrIf} $SetShared == "yes"
      ${NSD_Check} $SetField
    ${EndIf}
    ${If} $Present != ""
      ${NSD_CreateLabel} 12u 78u 100% 20u "$(HostPresent) $Present"
      Pop $0
    ${EndIf}
  ${EndIf}
  nsDialogs::Show
FunctionEnd

!macro BrowseInto FIELD
  ${NSD_GetText} ${FIELD} $0
  nsDialogs::SelectFolderDialog "" $0
  Pop $0
  ${If} $0 != "error"
    ${NSD_SetText} ${FIELD} $0
  ${EndIf}
!macroend
Function BrowseModule
  Pop $0
  !insertmacro BrowseInto $ModuleField
FunctionEnd
Function BrowseShared
  Pop $0
  !insertmacro BrowseInto $SharedField
FunctionEnd

Function LeaveHostPage
  ${NSD_GetText} $ModuleField $Module
  ${NSD_GetText} $SharedField $Shared
  ${If} $Shared == $INSTDIR
    StrCpy $Shared ""
  ${EndIf}
  ${NSD_GetState} $SetField $0
  StrCpy $SetShared "no"
  ${If} $0 == ${BST_CHECKED}
    StrCpy $SetShared "yes"
  ${EndIf}
FunctionEnd

; --- Installation ----------------------------------------------------------------------------------------

; Without its last separator: the module takes the value as it stands, the library is "\Analysis\..." below.
!macro TrimFolder FOLDER
  StrCpy $0 ${FOLDER} 1 -1
  ${If} $0 == "\"
    StrCpy ${FOLDER} ${FOLDER} -1
  ${EndIf}
!macroend

; $Top: the deepest folder on the way to $0 that is there already.
Function FindTop
  StrCpy $Top $0
  ${DoWhile} $Top != ""
    ${If} ${FileExists} "$Top\*.*"
      ${ExitDo}
    ${EndIf}
    ${GetParent} $Top $Top
  ${Loop}
FunctionEnd

; Removes the folder $0 and those above it, as far as they are empty, up to $Top.
!macro DefineRemoveFolders PREFIX
Function ${PREFIX}RemoveFolders
  ${DoWhile} $0 != $Top
    ${If} $0 == ""
      ${ExitDo}
    ${EndIf}
    ClearErrors
    RMDir $0
    ${If} ${Errors}
      ${ExitDo}
    ${EndIf}
    ${GetParent} $0 $0
  ${Loop}
FunctionEnd
!macroend
!insertmacro DefineRemoveFolders ""
!insertmacro DefineRemoveFolders "un."

; A copy for a host, over whatever lies there, which comes back with removal.
!macro CopyForHost FOLDER FILE RECORD
  StrCpy $0 "${FOLDER}"
  Call FindTop
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "${RECORD}Top" $Top
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "${RECORD}Folder" "${FOLDER}"
  ${If} ${FileExists} "${FOLDER}\${FILE}"
  ${AndIfNot} ${FileExists} "${FOLDER}\${FILE}${BEFORE}"
    Rename "${FOLDER}\${FILE}" "${FOLDER}\${FILE}${BEFORE}"
  ${EndIf}
  SetOutPath "${FOLDER}"
!macroend

; Notes in $1 whether a key is there.
!macro KeyExists ROOT KEY
  ClearErrors
  EnumRegKey $0 ${ROOT} "${KEY}" 0
  StrCpy $1 "yes"
  ${If} ${Errors}
    StrCpy $1 "no"
  ${EndIf}
!macroend

; The keys above the value that were not there before, outermost first: how many.
Function CountMissingKeys
  StrCpy $2 0
  !insertmacro KeyExists HKLM "SOFTWARE\Orvane"
  ${If} $1 == "no"
    IntOp $2 $2 + 1
  ${EndIf}
  !insertmacro KeyExists HKLM "SOFTWARE\Orvane\Common"
  ${If} $1 == "no"
    IntOp $2 $2 + 1
  ${EndIf}
  !insertmacro KeyExists HKLM "${SHARED_KEY}"
  ${If} $1 == "no"
    IntOp $2 $2 + 1
  ${EndIf}
FunctionEnd

Function WriteSharedValue
  ; Its kind and whether it is there: 0 found, 2 not.
  System::Call 'advapi32::RegGetValueW(p 0x80000002, w "${SHARED_KEY}", w "${SHARED_VALUE}", i 0x1000ffff, *i .r3, p 0, p 0) i .r4'
  ${If} $SetShared == "absent"
  ${AndIf} $4 == 0
    Return
  ${EndIf}
  Call CountMissingKeys
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "SharedKeysMade" $2
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "SharedValue" $Shared
  ${If} $4 == 0
    ReadRegStr $5 HKLM "${SHARED_KEY}" "${SHARED_VALUE}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "SharedBefore" $5
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "SharedBeforeKind" $3
  ${EndIf}
  WriteRegStr HKLM "${SHARED_KEY}" "${SHARED_VALUE}" $Shared
FunctionEnd

Section
  SetRegView 64
  SetOverwrite on
  !insertmacro TrimFolder $INSTDIR
  !insertmacro TrimFolder $Module
  !insertmacro TrimFolder $Shared
  StrCpy $R6 $Shared  ; as it was chosen: empty is the installation's own folder, wherever that is
  ${If} $Shared == ""
    StrCpy $Shared $INSTDIR
  ${EndIf}

  ; An older installation goes first, with everything it has done.
  ReadRegStr $R4 SHCTX "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $R4 != ""
  ${AndIf} ${FileExists} "$R4\uninstall.exe"
    ReadRegStr $Top SHCTX "${UNINSTALL_KEY}" "Top"
    ExecWait '"$R4\uninstall.exe" /S _?=$R4' $0
    ${If} $0 != 0
      MessageBox MB_OK|MB_ICONSTOP $(InUse) /SD IDOK
      SetErrorLevel 2
      Quit
    ${EndIf}
    Delete "$R4\uninstall.exe"
    StrCpy $0 $R4
    Call RemoveFolders
  ${EndIf}

  StrCpy $0 $INSTDIR
  Call FindTop
  !insertmacro KeyExists SHCTX "${UNINSTALL_PARENT}"
  ClearErrors
  !insertmacro InstallFiles
  WriteUninstaller "$INSTDIR\uninstall.exe"
  ${If} ${Errors}
    MessageBox MB_OK|MB_ICONSTOP "$(WriteFailed) $INSTDIR" /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}

  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "Vynpack ${VERSION}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\vynhost.exe"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "Publisher" "Orvane"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $2 $3
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "EstimatedSize" $0
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "ParentKeyThere" $1
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "Top" $Top
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "Module" $Module
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "ChosenShared" $R6
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "SetShared" $SetShared

  ClearErrors
  ${If} $Module != ""
  ${AndIf} $Module != $INSTDIR
    !insertmacro CopyForHost "$Module" VYNPACKM.dll Module
    File "${TREE}/VYNPACKM.dll"
  ${EndIf}
  ${If} $Shared != $INSTDIR
    !insertmacro CopyForHost "$Shared\Analysis" ovanlys.dll Library
    File "${TREE}/Analysis/ovanlys.dll"
  ${EndIf}
  ${If} ${Errors}
    MessageBox MB_OK|MB_ICONSTOP "$(WriteFailed) $OUTDIR" /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}
  ${If} $Scope == "all"
  ${AndIf} $SetShared != "no"
    Call WriteSharedValue
  ${EndIf}
  SetOutPath $TEMP  ; holds no folder of the installation
SectionEnd

; --- Removal ---------------------------------------------------------------------------------------------

Function un.onInit
  SetRegView 64
  StrCpy $Scope "all"
  SetShellVarContext all
  ReadRegStr $0 HKLM "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $0 != $INSTDIR
    StrCpy $Scope "user"
    SetShellVarContext current
  ${EndIf}
  UserInfo::GetAccountType
  Pop $0
  ${If} $Scope == "all"
  ${AndIf} $0 != "Admin"
    MessageBox MB_OK|MB_ICONSTOP $(NeedRights) /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}
FunctionEnd

!macro RemoveCopyOfHost FILE RECORD
  ReadRegStr $Top SHCTX "${UNINSTALL_KEY}" "${RECORD}Top"
  ReadRegStr $0 SHCTX "${UNINSTALL_KEY}" "${RECORD}Folder"
  ${If} $0 != ""
    Delete "$0\${FILE}"
    ${If} ${FileExists} "$0\${FILE}${BEFORE}"
      Rename "$0\${FILE}${BEFORE}" "$0\${FILE}"
    ${EndIf}
    Call un.RemoveFolders
  ${EndIf}
!macroend

; A file that is in use cannot be renamed; $R5 says "yes" then.
!macro NoteUse FILE
  ${If} ${FileExists} "${FILE}"
    ClearErrors
    Rename "${FILE}" "${FILE}.going"
    ${If} ${Errors}
      StrCpy $R5 "yes"
    ${Else}
      Rename "${FILE}.going" "${FILE}"
    ${EndIf}
  ${EndIf}
!macroend

Function un.RestoreSharedValue
  ReadRegStr $1 SHCTX "${UNINSTALL_KEY}" "SharedValue"
  ${If} $1 == ""
    Return  ; it is not ours
  ${EndIf}
  ReadRegStr $0 HKLM "${SHARED_KEY}" "${SHARED_VALUE}"
  ${If} $0 != $1
    Return  ; somebody has changed it
  ${EndIf}
  ClearErrors
  ReadRegDWORD $3 SHCTX "${UNINSTALL_KEY}" "SharedBeforeKind"
  ${IfNot} ${Errors}
    ReadRegStr $2 SHCTX "${UNINSTALL_KEY}" "SharedBefore"
    ${If} $3 == 2
      WriteRegExpandStr HKLM "${SHARED_KEY}" "${SHARED_VALUE}" $2
    ${Else}
      WriteRegStr HKLM "${SHARED_KEY}" "${SHARED_VALUE}" $2
    ${EndIf}
    Return
  ${EndIf}
  DeleteRegValue HKLM "${SHARED_KEY}" "${SHARED_VALUE}"
  ReadRegDWORD $3 SHCTX "${UNINSTALL_KEY}" "SharedKeysMade"
  ${If} $3 >= 1
    DeleteRegKey /ifempty HKLM "${SHARED_KEY}"
  ${EndIf}
  ${If} $3 >= 2
    DeleteRegKey /ifempty HKLM "SOFTWARE\Orvane\Common"
  ${EndIf}
  ${If} $3 >= 3
    DeleteRegKey /ifempty HKLM "SOFTWARE\Orvane"
  ${EndIf}
FunctionEnd

Section Uninstall
  SetRegView 64
  StrCpy $R5 "no"
  !insertmacro NoteUse "$INSTDIR\VYNPACKM.dll"
  !insertmacro NoteUse "$INSTDIR\Analysis\ovanlys.dll"
  !insertmacro NoteUse "$INSTDIR\libvynhost.dll"
  !insertmacro NoteUse "$INSTDIR\vynhost.exe"
  ReadRegStr $0 SHCTX "${UNINSTALL_KEY}" "ModuleFolder"
  !insertmacro NoteUse "$0\VYNPACKM.dll"
  ReadRegStr $0 SHCTX "${UNINSTALL_KEY}" "LibraryFolder"
  !insertmacro NoteUse "$0\ovanlys.dll"
  ${If} $R5 == "yes"
    MessageBox MB_OK|MB_ICONSTOP $(InUse) /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}

  Call un.RestoreSharedValue
  !insertmacro RemoveCopyOfHost VYNPACKM.dll Module
  !insertmacro RemoveCopyOfHost ovanlys.dll Library
  SetOutPath $TEMP
  !insertmacro RemoveFiles
  Delete "$INSTDIR\uninstall.exe"
  ReadRegStr $Top SHCTX "${UNINSTALL_KEY}" "Top"
  StrCpy $0 $INSTDIR
  Call un.RemoveFolders
  ReadRegStr $1 SHCTX "${UNINSTALL_KEY}" "ParentKeyThere"
  DeleteRegKey SHCTX "${UNINSTALL_KEY}"
  ${If} $1 == "no"
    DeleteRegKey /ifempty SHCTX "${UNINSTALL_PARENT}"
  ${EndIf}
SectionEnd
