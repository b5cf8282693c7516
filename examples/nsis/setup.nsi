; A setup and its uninstaller that do their work through TARVO.DLL.
;   makensis -DVERSION=1|2 setup.nsi
; Where the parts lie may be given too: -DLIBRARY=DLL -DBUILT=FOLDER -DPRODUCT=FOLDER -DSETUP=FILE. Both take /S
; (silent). The setup ends with 0, with 3010 when a restart is needed to finish, or with 1.
;
; So does the uninstaller, if it is run in place: uninstall.exe /S _?=FOLDER, as QuietUninstallString has it. Otherwise
; NSIS starts a copy of it and ends at once, with 0. In place its own file is in use and goes at the next restart, which
; is no reason for one. lantern.nsh tells how to have both write a log.
!ifndef VERSION
  !define VERSION 1
!endif
!ifndef LIBRARY
  !define LIBRARY "../../TARVO.DLL"
!endif
!ifndef PRODUCT
  !define PRODUCT "../product"
!endif
!ifndef BUILT
  !define BUILT "${PRODUCT}"
!endif
!ifndef SETUP
  !define SETUP "setup-${VERSION}.exe"
!endif

Unicode true
Name "Lantern ${VERSION}"
OutFile "${SETUP}"
InstallDir "$PROGRAMFILES\Harbour\Lantern"
RequestExecutionLevel admin
Page instfiles
UninstPage instfiles

!include FileFunc.nsh
!include ../../include/tarvo.nsh
!include lantern.nsh

!define RESTART_NEEDED 3010
!define KEEPER LanternKeeper
!define MINUTE 60000
!define EVENT_TYPES ${EVENTLOG_ERROR_TYPE}|${EVENTLOG_WARNING_TYPE}|${EVENTLOG_INFORMATION_TYPE}
!define EVENT_SOURCE "Lantern"
!define KEY "HKEY_LOCAL_MACHINE\Software\Harbour\Lantern"
!define PROGRAMS_KEY "HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall\Lantern"

; What the uninstall log says is done with an administrator's rights: it lies
; where only administrators write. So this folder is made before the log, and
; goes after it; the one above it is for all that comes from Harbour.
!define UNINSTALL_LOG "$INSTDIR\uninstall.log"
!define START_MENU_GROUP "Lantern"

!macro Settings
  ${Set} "${KEY}\\Version|${VERSION}" ${REG_DWORD}
  ${Set} "${KEY}\\Folder|$INSTDIR" ${REG_SZ}
  ${Set} "${KEY}\Wicks\\Colours|red$\ngreen" ${REG_MULTI_SZ}
  ${TARVO_CreateRegistryEntryEx} $0 "${KEY}\\Version|${VERSION}" ${REG_DWORD} 0 0
  ${Check} "setting the version in the 64-bit view"
  ${Set} "${PROGRAMS_KEY}\\DisplayName|Lantern ${VERSION}" ${REG_SZ}
  ${Set} "${PROGRAMS_KEY}\\UninstallString|$INSTDIR\uninstall.exe" ${REG_SZ}
  ${Set} '${PROGRAMS_KEY}\\QuietUninstallString|"$INSTDIR\uninstall.exe" /S _?=$INSTDIR' ${REG_SZ}
  ${Say} "settings written in both registry views"
!macroend

; What others know the product by. A source of the event log is not recorded:
; the uninstaller deletes it.
!macro Registrations
  ${TARVO_AddShortCut} $0 "${START_MENU_GROUP}" "Lantern" '"$INSTDIR\lantern.exe" stay' "$INSTDIR\data" ${SW_SHOWNORMAL}
  ${Check} "making the shortcut"
  ${TARVO_AddEventSource} $0 "${EVENT_SOURCE}" "$INSTDIR\lantern.exe" ${EVENT_TYPES} 0
  ${Check} "adding the event source"
  ${TARVO_RegisterKobPlugIn} $0 "Lantern" "$INSTDIR\wick.dll"
  ${Check} "registering the plug-in"
  ${TARVO_SetProductVersion} $0 "${VERSION}" "Lantern"
  ${Check} "setting the product's version"
  ${Say} "shortcut, event source and plug-in registered"
!macroend

; Ends a service. It is stopped a moment before its program has ended, and only
; then can the file be replaced.
!macro StopKeeper
  ${TARVO_StopService} $0 ${TARVO_NULL} ${KEEPER}
  ${Check} "stopping ${KEEPER}"
  ${TARVO_WaitForServiceState} $0 ${TARVO_NULL} ${KEEPER} ${SERVICE_STOPPED} ${MINUTE} $1
  ${Check} "waiting for ${KEEPER} to stop"
  Sleep 1000
  ${Say} "service stopped: ${KEEPER}"
!macroend

; A service that is there is changed, its display name included.
!macro StartKeeper
  ${TARVO_InstallService} $0 ${TARVO_NULL} ${KEEPER} "Lantern Keeper ${VERSION}" ${SERVICE_WIN32_OWN_PROCESS} \
      ${SERVICE_AUTO_START} "$INSTDIR\keeper.exe" ${TARVO_NULL} ${TARVO_NULL} ${TARVO_NULL} 1
  ${Check} "installing ${KEEPER}"
  ${TARVO_StartService} $0 ${TARVO_NULL} ${KEEPER}
  ${Check} "starting ${KEEPER}"
  ${TARVO_WaitForServiceState} $0 ${TARVO_NULL} ${KEEPER} ${SERVICE_RUNNING} ${MINUTE} $1
  ${Check} "waiting for ${KEEPER} to run"
  ${Say} "service installed and started: ${KEEPER}"
!macroend

Section
  SetShellVarContext all
  !insertmacro StartTarvo
  File "/oname=$PLUGINSDIR\lantern.exe" "${BUILT}/lantern-${VERSION}.exe"
  File "/oname=$PLUGINSDIR\keeper.exe" "${BUILT}/keeper-${VERSION}.exe"
  File "/oname=$PLUGINSDIR\words.txt" "${PRODUCT}/words-${VERSION}.txt"

  ${TARVO_CreateDirectory} $0 "$INSTDIR"
  ${Check} "making $INSTDIR"
  ${TARVO_StartUninstallLogging} $0 "${UNINSTALL_LOG}" "Lantern"
  ${Check} "beginning the uninstall log"
  ${TARVO_CreateDirectory} $0 "$INSTDIR\data"
  ${Check} "making $INSTDIR\data"
  ${Install} "$PLUGINSDIR\lantern.exe" "$INSTDIR\lantern.exe"
  ${Install} "$PLUGINSDIR\words.txt" "$INSTDIR\data\words.txt"
  ${TARVO_ResetFileReadOnlyAttribute} $0 "$INSTDIR\data\words.txt" ${FILE_ATTRIBUTE_READONLY}
  ${Check} "protecting words.txt"
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
  WriteUninstaller "$PLUGINSDIR\uninstall.exe" ; copied, it is recorded, and may be in use
  ${Install} "$PLUGINSDIR\uninstall.exe" "$INSTDIR\uninstall.exe"
  ${TARVO_SetCustomUnInstallString} $0 "Version" "${VERSION}"
  ${Check} "recording the version"
  ${TARVO_StopUninstallLogging} $0
  ${Check} "ending the uninstall log"

  ${If} $restart = 0
    !insertmacro EndTarvo 0
  ${EndIf}
  !insertmacro EndTarvo ${RESTART_NEEDED}
SectionEnd

; Removes a folder; one that is not empty is tried again at the restart, when what
; was in use has gone. Others may keep it: that is no reason for a restart.
!macro RemoveFolder FOLDER
  ${TARVO_DeleteFileEx} $0 "${FOLDER}" $1
  ${Check} "deleting ${FOLDER}"
!macroend

Section un.install
  SetShellVarContext all
  !insertmacro StartTarvo
  ${TARVO_OpenRollBackLog} $0 "${UNINSTALL_LOG}"
  ${Check} "opening the uninstall log"
  ${TARVO_GetCustomUnInstallString} $0 "Version" $1
  ${Check} "reading the version"
  ${Say} "the log says: version $1"
  ${TARVO_Uninstall} $0 "${UNINSTALL_LOG}" $restart
  ${Check} "removing what the log lists"
  ${TARVO_DeleteEventSource} $0 "${EVENT_SOURCE}"
  ${Check} "deleting the event source"
  !insertmacro RemoveFolder "$INSTDIR"
  ${GetParent} "$INSTDIR" $2
  !insertmacro RemoveFolder "$2"
  ${If} $restart = 1
    ${Say} "the rest goes at the restart: $INSTDIR"
    !insertmacro EndTarvo ${RESTART_NEEDED}
  ${EndIf}
  !insertmacro EndTarvo 0
SectionEnd
