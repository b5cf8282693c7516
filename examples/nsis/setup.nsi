; A setup and its uninstaller that do their work through TARVO.DLL.
;   makensis -DVERSION=1|2 -DLIBRARY=DLL -DBUILT=FOLDER -DPRODUCT=FOLDER -DSETUP=FILE setup.nsi
; Both take /S (silent) and end with 0, with 3010 when a restart is needed to
; finish, or with 1. tarvo.nsh tells how to have them write a log.
Unicode true
Name "Lantern ${VERSION}"
OutFile "${SETUP}"
InstallDir "$PROGRAMFILES\Harbour\Lantern"
RequestExecutionLevel admin
Page instfiles
UninstPage instfiles

!include LogicLib.nsh
!include tarvo.nsh

!define RESTART_NEEDED 3010
!define SZ 1
!define DWORD 4
!define MULTI_SZ 7
!define SERVICE_WIN32_OWN_PROCESS 0x10
!define SERVICE_AUTO_START 2
!define SERVICE_STOPPED 1
!define SERVICE_RUNNING 4
!define KEEPER LanternKeeper
!define MINUTE 60000
!define SW_SHOWNORMAL 1
!define EVENT_TYPES 7 ; errors, warnings, information
!define EVENT_SOURCE "Lantern"
!define KEY "HKEY_LOCAL_MACHINE\Software\Harbour\Lantern"
!define PROGRAMS_KEY "HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall\Lantern"

; The uninstall log lies in a folder that is there from the start: the setup's
; own folders come into being one by one, and each is recorded at once.
!define UNINSTALL_LOG "$APPDATA\Lantern-uninstall.log"
!define START_MENU_GROUP "Lantern"

!macro Settings
  ${Tarvo} TARVO_CreateRegistryEntry "m '${KEY}\\Version|${VERSION}', i ${DWORD}, i 0"
  ${Tarvo} TARVO_CreateRegistryEntry "m '${KEY}\\Folder|$INSTDIR', i ${SZ}, i 0"
  ; The list continues behind the locator's own zero.
  StrCpy $1 "${KEY}\Wicks\\Colours|red"
  StrLen $2 $1
  IntOp $2 $2 + 1
  System::Call "*(&m$2 r1, &m6 'green', &i1 0) p .r3"
  ${Tarvo} TARVO_CreateRegistryEntry "p r3, i ${MULTI_SZ}, i 0"
  System::Free $3
  ${Tarvo} TARVO_CreateRegistryEntryEx "m '${KEY}\\Version|${VERSION}', i ${DWORD}, i 0, i 0"
  ${Tarvo} TARVO_CreateRegistryEntry "m '${PROGRAMS_KEY}\\DisplayName|Lantern ${VERSION}', i ${SZ}, i 0"
  ${Tarvo} TARVO_CreateRegistryEntry "m '${PROGRAMS_KEY}\\UninstallString|$INSTDIR\uninstall.exe', i ${SZ}, i 0"
  ${Say} "settings written in both registry views"
!macroend

; What others know the product by. A source of the event log is not recorded:
; the uninstaller deletes it.
!macro Registrations
  ${Tarvo} TARVO_AddShortCut "m '${START_MENU_GROUP}', m 'Lantern', m '$\"$INSTDIR\lantern.exe$\" stay', \
      m '$INSTDIR\data', i ${SW_SHOWNORMAL}"
  ${Tarvo} TARVO_AddEventSource "m '${EVENT_SOURCE}', m '$INSTDIR\lantern.exe', i ${EVENT_TYPES}, i 0"
  ${Tarvo} TARVO_RegisterKobPlugIn "m 'Lantern', m '$INSTDIR\wick.dll'"
  ${Tarvo} TARVO_SetProductVersion "m '${VERSION}', m 'Lantern'"
  ${Say} "shortcut, event source and plug-in registered"
!macroend

; The library records what it creates itself. This one NSIS makes.
!macro RecordedByHand
  WriteUninstaller "$INSTDIR\uninstall.exe"
  ${Tarvo} TARVO_AddFileToUninstallLog "m '$INSTDIR\uninstall.exe'"
!macroend

; Ends a service. It is stopped a moment before its program has ended, and only
; then can the file be replaced.
!macro StopKeeper
  ${Tarvo} TARVO_StopService "p 0, m '${KEEPER}'"
  ${Tarvo} TARVO_WaitForServiceState "p 0, m '${KEEPER}', i ${SERVICE_STOPPED}, i ${MINUTE}, p 0"
  Sleep 1000
  ${Say} "service stopped: ${KEEPER}"
!macroend

; A service that is there is changed, its display name included.
!macro StartKeeper
  ${Tarvo} TARVO_InstallService "p 0, m '${KEEPER}', m 'Lantern Keeper ${VERSION}', i ${SERVICE_WIN32_OWN_PROCESS}, \
      i ${SERVICE_AUTO_START}, m '$INSTDIR\keeper.exe', p 0, p 0, p 0, i 1"
  ${Tarvo} TARVO_StartService "p 0, m '${KEEPER}'"
  ${Tarvo} TARVO_WaitForServiceState "p 0, m '${KEEPER}', i ${SERVICE_RUNNING}, i ${MINUTE}, p 0"
  ${Say} "service installed and started: ${KEEPER}"
!macroend

Section
  SetShellVarContext all
  !insertmacro StartTarvo
  File "/oname=$PLUGINSDIR\lantern.exe" "${BUILT}/lantern-${VERSION}.exe"
  File "/oname=$PLUGINSDIR\keeper.exe" "${BUILT}/keeper-${VERSION}.exe"
  File "/oname=$PLUGINSDIR\words.txt" "${PRODUCT}/words-${VERSION}.txt"

  ${Tarvo} TARVO_StartUninstallLogging "m '${UNINSTALL_LOG}', m 'Lantern'"
  ${Tarvo} TARVO_CreateDirectory "m '$INSTDIR\data'"
  ${Install} "$PLUGINSDIR\lantern.exe" "$INSTDIR\lantern.exe"
  ${Install} "$PLUGINSDIR\words.txt" "$INSTDIR\data\words.txt"
  ${Tarvo} TARVO_ResetFileReadOnlyAttribute "m '$INSTDIR\data\words.txt', i 1"
!if ${VERSION} = 2
  !insertmacro StopKeeper
!endif
  ${Install} "$PLUGINSDIR\keeper.exe" "$INSTDIR\keeper.exe"
  !insertmacro StartKeeper
!if ${VERSION} = 1
  File "/oname=$PLUGINSDIR\wick.dll" "${BUILT}/wick.dll"
  ${Install} "$PLUGINSDIR\wick.dll" "$INSTDIR\wick.dll"
!else
  ${Remove} "$INSTDIR\wick.dll"
!endif
  !insertmacro Settings
  !insertmacro Registrations
  !insertmacro RecordedByHand
  ${Tarvo} TARVO_SetCustomUnInstallString "m 'Version', m '${VERSION}'"
  ${Tarvo} TARVO_StopUninstallLogging ""

  ${If} $restart = 0
    !insertmacro EndTarvo 0
  ${EndIf}
  !insertmacro EndTarvo ${RESTART_NEEDED}
SectionEnd

!macro Replay CODE WHAT
  ${Tarvo} TARVO_PerformUnInstall "i ${CODE}"
  ${Say} "${CODE}, ${WHAT}: done"
!macroend

; Run with _?=FOLDER the uninstaller works in place and is in use itself.
Section un.install
  SetShellVarContext all
  !insertmacro StartTarvo
  ${Tarvo} TARVO_OpenRollBackLog "m '${UNINSTALL_LOG}'"
  ${Tarvo} TARVO_GetCustomUnInstallString "m 'Version', m .r1, i ${NSIS_MAX_STRLEN}"
  ${Say} "the log says: version $1"
  !insertmacro Replay 202 "services"
  !insertmacro Replay 200 "registry entries"
  !insertmacro Replay 201 "files"
  !insertmacro Replay 203 "shortcuts"
  ${Tarvo} TARVO_CloseRollBackLog ""
  ${Tarvo} TARVO_DeleteEventSource "m '${EVENT_SOURCE}'"
  ${Remove} "${UNINSTALL_LOG}"

  ; The steps tell of no restart; what the next one will delete does.
  System::Call "$PLUGINSDIR\TARVO.dll::TARVO_FindSourceInPFOs(m '$INSTDIR', m .r1, i ${NSIS_MAX_STRLEN}) i .r0 ? c"
  ${If} $0 = 0
    ${Say} "the rest goes at the restart: $INSTDIR"
    !insertmacro EndTarvo ${RESTART_NEEDED}
  ${EndIf}
  !insertmacro EndTarvo 0
SectionEnd
