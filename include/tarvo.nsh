; Calling TARVO.DLL from NSIS: a macro for each export.
;
;   !include tarvo.nsh
;   Section
;     !insertmacro TARVO_Load "TARVO.DLL"
;     ${TARVO_CopyFileEx} $0 "$EXEDIR\new.dll" "$INSTDIR\part.dll" 0 $1
;     ${If} $0 <> 0
;       ${TARVO_LastError} $2
;       DetailPrint "part.dll: $2"
;     ${ElseIf} $1 = 1
;       SetRebootFlag true
;     ${EndIf}
;     !insertmacro TARVO_Unload
;   SectionEnd
;
; - The first argument is the variable that receives the result, then come the
;   arguments of tarvo.h in their order: texts and numbers, and variables for
;   what is handed out. Exports without a result begin with the others.
; - Sizes of the variables are filled in: leave the size of a text that is
;   handed out away.
; - A text that tarvo.h lets be NULL may be ${TARVO_NULL}.
; - What is not a plain text is an address, or 0: lists of texts (as those that a
;   service depends on), windows, bytes, and buffers whose size is asked for.
;   System::Call makes and frees them; a list of two texts in $1:
;     System::Call "*(&m4 'red', &m6 'green', &i1 0) p .r1"
;     System::Free $1
; - Numbers come back signed: TARVO_ERROR_FAILED is -1, TARVO_ERROR_NO_LOG -2.
;   NSIS compares them as numbers with = and <>.
; - A text may hold any characters but ` (NSIS's own macros have the same limit).
; - The stack is as it was after a call, and no variable is changed but those named.
!ifndef TARVO_INCLUDED
!define TARVO_INCLUDED

; Where the library lies at run time.
!ifndef TARVO_DLL
  !define TARVO_DLL "$PLUGINSDIR\TARVO.dll"
!endif

!define TARVO_NULL "<TARVO_NULL>"

; Unpacks the library, which is FILE at compile time. Once in the setup, once in the uninstaller.
!macro TARVO_Load FILE
  InitPluginsDir
  File "/oname=$PLUGINSDIR\TARVO.dll" "${FILE}"
!macroend

; Lets go of the library, so that its file can be deleted. What has not been written to the list of
; pending operations is lost, as always at its end.
!macro TARVO_Unload
  Push $0
  System::Call `kernel32::GetModuleHandle(t "${TARVO_DLL}") p .r0`
  System::Call `kernel32::FreeLibrary(p r0)`
  Pop $0
!macroend

; The text of the most recent failure.
!define TARVO_LastError "!insertmacro TARVO_GetLastErrorMessage"

; Pushes an argument that may be NULL, and defines TARVO__NAME, its type in a call.
!macro TARVO__OptionalText NAME VALUE
  !if `${VALUE}` == `${TARVO_NULL}`
    Push 0
    !define /redef TARVO__${NAME} "p s"
  !else
    Push `${VALUE}`
    !define /redef TARVO__${NAME} "m s"
  !endif
!macroend

!define TARVO_ERROR_FAILED -1
!define TARVO_ERROR_NO_LOG -2

; ---- Frame: trace log, result texts, the library itself -------------------------

!macro TARVO_StartDebugLogging
  System::Call `${TARVO_DLL}::TARVO_StartDebugLogging() ? c`
!macroend
!define TARVO_StartDebugLogging "!insertmacro TARVO_StartDebugLogging"

!macro TARVO_StartDebugLogging2
  System::Call `${TARVO_DLL}::TARVO_StartDebugLogging2() ? c`
!macroend
!define TARVO_StartDebugLogging2 "!insertmacro TARVO_StartDebugLogging2"

!macro TARVO_StartDebugLoggingRunTime PATH OVERWRITE
  Push `${OVERWRITE}`
  !insertmacro TARVO__OptionalText PATH `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_StartDebugLoggingRunTime(${TARVO__PATH}, i s) ? c`
!macroend
!define TARVO_StartDebugLoggingRunTime "!insertmacro TARVO_StartDebugLoggingRunTime"

!macro TARVO_GetLastErrorMessage BUFFER
  System::Call `${TARVO_DLL}::TARVO_GetLastErrorMessage(m .s, i ${NSIS_MAX_STRLEN}) ? c`
  Pop ${BUFFER}
!macroend
!define TARVO_GetLastErrorMessage "!insertmacro TARVO_GetLastErrorMessage"

!macro TARVO_GetString RESULT CODE BUFFER
  Push `${CODE}`
  System::Call `${TARVO_DLL}::TARVO_GetString(i s, m .s, i ${NSIS_MAX_STRLEN}) i .s ? c`
  Pop ${RESULT}
  Pop ${BUFFER}
!macroend
!define TARVO_GetString "!insertmacro TARVO_GetString"

!macro TARVO_SetLanguage RESULT
  System::Call `${TARVO_DLL}::TARVO_SetLanguage() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetLanguage "!insertmacro TARVO_SetLanguage"

!macro TARVO_GetTarvoDllInstance RESULT
  System::Call `${TARVO_DLL}::TARVO_GetTarvoDllInstance() p .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_GetTarvoDllInstance "!insertmacro TARVO_GetTarvoDllInstance"

!macro TARVO_LoadedInSetup
  System::Call `${TARVO_DLL}::TARVO_LoadedInSetup() ? c`
!macroend
!define TARVO_LoadedInSetup "!insertmacro TARVO_LoadedInSetup"

!macro TARVO_DelayLoadInitialize
  System::Call `${TARVO_DLL}::_TARVO_DelayLoadInitialize@0()`
!macroend
!define TARVO_DelayLoadInitialize "!insertmacro TARVO_DelayLoadInitialize"

; ---- Files ----------------------------------------------------------------------

!macro TARVO_CreateDirectory RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_CreateDirectory(m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_CreateDirectory "!insertmacro TARVO_CreateDirectory"

!macro TARVO_ResetFileReadOnlyAttribute RESULT PATH ATTRIBUTES
  Push `${ATTRIBUTES}`
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_ResetFileReadOnlyAttribute(m s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_ResetFileReadOnlyAttribute "!insertmacro TARVO_ResetFileReadOnlyAttribute"

!macro TARVO_CopyFile RESULT SOURCE DESTINATION FAIL_IF_EXISTS
  Push `${FAIL_IF_EXISTS}`
  Push `${DESTINATION}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_CopyFile(m s, m s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_CopyFile "!insertmacro TARVO_CopyFile"

!macro TARVO_CopyFileEx RESULT SOURCE DESTINATION FAIL_IF_EXISTS NEED_RESTART
  Push `${FAIL_IF_EXISTS}`
  Push `${DESTINATION}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_CopyFileEx(m s, m s, i s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${NEED_RESTART}
!macroend
!define TARVO_CopyFileEx "!insertmacro TARVO_CopyFileEx"

!macro TARVO_MoveFileEx RESULT SOURCE DESTINATION FAIL_IF_EXISTS NEED_RESTART
  Push `${FAIL_IF_EXISTS}`
  Push `${DESTINATION}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_MoveFileEx(m s, m s, i s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${NEED_RESTART}
!macroend
!define TARVO_MoveFileEx "!insertmacro TARVO_MoveFileEx"

!macro TARVO_DeleteFileEx RESULT PATH NEED_RESTART
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_DeleteFileEx(m s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${NEED_RESTART}
!macroend
!define TARVO_DeleteFileEx "!insertmacro TARVO_DeleteFileEx"

!macro TARVO_DeleteAfterReboot RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_DeleteAfterReboot(m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DeleteAfterReboot "!insertmacro TARVO_DeleteAfterReboot"

; ---- Pending operations: the Session Manager's list -----------------------------

!macro TARVO_ReceivePFOsInfo RESULT
  System::Call `${TARVO_DLL}::TARVO_ReceivePFOsInfo() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_ReceivePFOsInfo "!insertmacro TARVO_ReceivePFOsInfo"

!macro TARVO_UpdatePFOsInfo RESULT
  System::Call `${TARVO_DLL}::TARVO_UpdatePFOsInfo() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_UpdatePFOsInfo "!insertmacro TARVO_UpdatePFOsInfo"

!macro TARVO_RenameAfterReboot RESULT SOURCE TARGET
  !insertmacro TARVO__OptionalText TARGET `${TARGET}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_RenameAfterReboot(m s, ${TARVO__TARGET}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RenameAfterReboot "!insertmacro TARVO_RenameAfterReboot"

!macro TARVO_RemovePendingFileOperation RESULT SOURCE DESTINATION
  !insertmacro TARVO__OptionalText DESTINATION `${DESTINATION}`
  !insertmacro TARVO__OptionalText SOURCE `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_RemovePendingFileOperation(${TARVO__SOURCE}, ${TARVO__DESTINATION}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RemovePendingFileOperation "!insertmacro TARVO_RemovePendingFileOperation"

!macro TARVO_FindSourceInPFOs RESULT DESTINATION SOURCE
  Push `${DESTINATION}`
  System::Call `${TARVO_DLL}::TARVO_FindSourceInPFOs(m s, m .s, i ${NSIS_MAX_STRLEN}) i .s ? c`
  Pop ${RESULT}
  Pop ${SOURCE}
!macroend
!define TARVO_FindSourceInPFOs "!insertmacro TARVO_FindSourceInPFOs"

!macro TARVO_SetPFOsImmediateFlush FLAG
  Push `${FLAG}`
  System::Call `${TARVO_DLL}::TARVO_SetPFOsImmediateFlush(i s) ? c`
!macroend
!define TARVO_SetPFOsImmediateFlush "!insertmacro TARVO_SetPFOsImmediateFlush"

; ---- Registry -------------------------------------------------------------------

!macro TARVO_CreateRegistryEntry RESULT LOCATOR TYPE FLUSH
  Push `${FLUSH}`
  Push `${TYPE}`
  Push `${LOCATOR}`
  System::Call `${TARVO_DLL}::TARVO_CreateRegistryEntry(m s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_CreateRegistryEntry "!insertmacro TARVO_CreateRegistryEntry"

!macro TARVO_CreateRegistryEntryEx RESULT LOCATOR TYPE FLUSH VIRTUALIZED
  Push `${VIRTUALIZED}`
  Push `${FLUSH}`
  Push `${TYPE}`
  Push `${LOCATOR}`
  System::Call `${TARVO_DLL}::TARVO_CreateRegistryEntryEx(m s, i s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_CreateRegistryEntryEx "!insertmacro TARVO_CreateRegistryEntryEx"

!macro TARVO_SetProductVersion RESULT VERSION PRODUCT
  Push `${PRODUCT}`
  Push `${VERSION}`
  System::Call `${TARVO_DLL}::TARVO_SetProductVersion(m s, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetProductVersion "!insertmacro TARVO_SetProductVersion"

!macro TARVO_RegisterDelayLoadLibrary RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_RegisterDelayLoadLibrary(m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RegisterDelayLoadLibrary "!insertmacro TARVO_RegisterDelayLoadLibrary"

!macro TARVO_UnRegisterDelayLoadLibrary RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_UnRegisterDelayLoadLibrary(m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_UnRegisterDelayLoadLibrary "!insertmacro TARVO_UnRegisterDelayLoadLibrary"

!macro TARVO_RegisterLocalizationResource RESULT DIRECTORY BASE_NAME
  Push `${BASE_NAME}`
  Push `${DIRECTORY}`
  System::Call `${TARVO_DLL}::TARVO_RegisterLocalizationResource(m s, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RegisterLocalizationResource "!insertmacro TARVO_RegisterLocalizationResource"

!macro TARVO_AddEventSource RESULT SOURCE MESSAGE_FILE TYPES CATEGORIES
  Push `${CATEGORIES}`
  Push `${TYPES}`
  Push `${MESSAGE_FILE}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_AddEventSource(m s, m s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_AddEventSource "!insertmacro TARVO_AddEventSource"

!macro TARVO_DeleteEventSource RESULT SOURCE
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_DeleteEventSource(m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DeleteEventSource "!insertmacro TARVO_DeleteEventSource"

; ---- Uninstall log: recording ---------------------------------------------------

!macro TARVO_StartUninstallLogging RESULT FILE PLUG_IN
  !insertmacro TARVO__OptionalText PLUG_IN `${PLUG_IN}`
  Push `${FILE}`
  System::Call `${TARVO_DLL}::TARVO_StartUninstallLogging(m s, ${TARVO__PLUG_IN}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_StartUninstallLogging "!insertmacro TARVO_StartUninstallLogging"

!macro TARVO_StopUninstallLogging RESULT
  System::Call `${TARVO_DLL}::TARVO_StopUninstallLogging() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_StopUninstallLogging "!insertmacro TARVO_StopUninstallLogging"

!macro TARVO_AddRollbackEntry RESULT SECTION ENTRY VALUE SINGLE
  Push `${SINGLE}`
  Push `${VALUE}`
  !insertmacro TARVO__OptionalText ENTRY `${ENTRY}`
  Push `${SECTION}`
  System::Call `${TARVO_DLL}::TARVO_AddRollbackEntry(m s, ${TARVO__ENTRY}, m s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_AddRollbackEntry "!insertmacro TARVO_AddRollbackEntry"

!macro TARVO_AddFileToUninstallLog RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_AddFileToUninstallLog(m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_AddFileToUninstallLog "!insertmacro TARVO_AddFileToUninstallLog"

!macro TARVO_SetCustomUnInstallString RESULT NAME VALUE
  Push `${VALUE}`
  Push `${NAME}`
  System::Call `${TARVO_DLL}::TARVO_SetCustomUnInstallString(m s, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetCustomUnInstallString "!insertmacro TARVO_SetCustomUnInstallString"

; ---- Uninstall log: replaying ---------------------------------------------------

!define TARVO_UNINSTALL_REGISTRY 200
!define TARVO_UNINSTALL_FILES 201
!define TARVO_UNINSTALL_SERVICES 202
!define TARVO_UNINSTALL_SHORTCUTS 203
!define TARVO_UNINSTALL_EVENTS 204
!define TARVO_UNINSTALL_SHELL_EXTENSION 205

!macro TARVO_OpenRollBackLog RESULT FILE
  Push `${FILE}`
  System::Call `${TARVO_DLL}::TARVO_OpenRollBackLog(m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_OpenRollBackLog "!insertmacro TARVO_OpenRollBackLog"

!macro TARVO_CloseRollBackLog RESULT
  System::Call `${TARVO_DLL}::TARVO_CloseRollBackLog() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_CloseRollBackLog "!insertmacro TARVO_CloseRollBackLog"

!macro TARVO_PerformUnInstall RESULT OPERATION
  Push `${OPERATION}`
  System::Call `${TARVO_DLL}::TARVO_PerformUnInstall(i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_PerformUnInstall "!insertmacro TARVO_PerformUnInstall"

!macro TARVO_GetCustomUnInstallString RESULT NAME BUFFER
  Push `${NAME}`
  System::Call `${TARVO_DLL}::TARVO_GetCustomUnInstallString(m s, m .s, i ${NSIS_MAX_STRLEN}) i .s ? c`
  Pop ${RESULT}
  Pop ${BUFFER}
!macroend
!define TARVO_GetCustomUnInstallString "!insertmacro TARVO_GetCustomUnInstallString"

; ---- Services -------------------------------------------------------------------

!macro TARVO_InstallService RESULT MACHINE SERVICE DISPLAY_NAME SERVICE_TYPE START_TYPE BINARY_PATH DEPENDENCIES ACCOUNT PASSWORD CHANGE_EXISTING
  Push `${CHANGE_EXISTING}`
  !insertmacro TARVO__OptionalText PASSWORD `${PASSWORD}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  Push `${DEPENDENCIES}`
  Push `${BINARY_PATH}`
  Push `${START_TYPE}`
  Push `${SERVICE_TYPE}`
  !insertmacro TARVO__OptionalText DISPLAY_NAME `${DISPLAY_NAME}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_InstallService(${TARVO__MACHINE}, m s, ${TARVO__DISPLAY_NAME}, i s, i s, m s, p s, ${TARVO__ACCOUNT}, ${TARVO__PASSWORD}, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_InstallService "!insertmacro TARVO_InstallService"

!macro TARVO_ChangeServiceConfig RESULT MACHINE SERVICE START_TYPE SERVICE_TYPE BINARY_PATH ACCOUNT PASSWORD DISPLAY_NAME
  !insertmacro TARVO__OptionalText DISPLAY_NAME `${DISPLAY_NAME}`
  !insertmacro TARVO__OptionalText PASSWORD `${PASSWORD}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  !insertmacro TARVO__OptionalText BINARY_PATH `${BINARY_PATH}`
  Push `${SERVICE_TYPE}`
  Push `${START_TYPE}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_ChangeServiceConfig(${TARVO__MACHINE}, m s, i s, i s, ${TARVO__BINARY_PATH}, ${TARVO__ACCOUNT}, ${TARVO__PASSWORD}, ${TARVO__DISPLAY_NAME}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_ChangeServiceConfig "!insertmacro TARVO_ChangeServiceConfig"

!macro TARVO_ChangeServiceConfig2 RESULT MACHINE SERVICE LEVEL INFORMATION
  Push `${INFORMATION}`
  Push `${LEVEL}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_ChangeServiceConfig2(${TARVO__MACHINE}, m s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_ChangeServiceConfig2 "!insertmacro TARVO_ChangeServiceConfig2"

!macro TARVO_GetServiceConfig RESULT MACHINE SERVICE START_TYPE INTERACTIVE BINARY_PATH ACCOUNT DISPLAY_NAME
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_GetServiceConfig(${TARVO__MACHINE}, m s, *i .s, *i .s, m .s, m .s, m .s) i .s ? c`
  Pop ${RESULT}
  Pop ${START_TYPE}
  Pop ${INTERACTIVE}
  Pop ${BINARY_PATH}
  Pop ${ACCOUNT}
  Pop ${DISPLAY_NAME}
!macroend
!define TARVO_GetServiceConfig "!insertmacro TARVO_GetServiceConfig"

!macro TARVO_IsServiceInstalled RESULT MACHINE SERVICE INSTALLED
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_IsServiceInstalled(${TARVO__MACHINE}, m s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${INSTALLED}
!macroend
!define TARVO_IsServiceInstalled "!insertmacro TARVO_IsServiceInstalled"

!macro TARVO_RemoveService RESULT MACHINE SERVICE
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_RemoveService(${TARVO__MACHINE}, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RemoveService "!insertmacro TARVO_RemoveService"

!macro TARVO_StartService RESULT MACHINE SERVICE
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_StartService(${TARVO__MACHINE}, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_StartService "!insertmacro TARVO_StartService"

!macro TARVO_StopService RESULT MACHINE SERVICE
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_StopService(${TARVO__MACHINE}, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_StopService "!insertmacro TARVO_StopService"

!macro TARVO_SendUserControl RESULT MACHINE SERVICE CONTROL
  Push `${CONTROL}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_SendUserControl(${TARVO__MACHINE}, m s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SendUserControl "!insertmacro TARVO_SendUserControl"

!macro TARVO_GetServiceStatus RESULT MACHINE SERVICE INTERACTIVE STATE
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_GetServiceStatus(${TARVO__MACHINE}, m s, *i .s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${INTERACTIVE}
  Pop ${STATE}
!macroend
!define TARVO_GetServiceStatus "!insertmacro TARVO_GetServiceStatus"

!macro TARVO_WaitForServiceState RESULT MACHINE SERVICE STATE TIMEOUT EXIT_CODE
  Push `${TIMEOUT}`
  Push `${STATE}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_WaitForServiceState(${TARVO__MACHINE}, m s, i s, i s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${EXIT_CODE}
!macroend
!define TARVO_WaitForServiceState "!insertmacro TARVO_WaitForServiceState"

!macro TARVO_HaveChangeConfigRights RESULT MACHINE SERVICE HAVE_RIGHTS
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_HaveChangeConfigRights(${TARVO__MACHINE}, m s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${HAVE_RIGHTS}
!macroend
!define TARVO_HaveChangeConfigRights "!insertmacro TARVO_HaveChangeConfigRights"

!macro TARVO_HaveStartStopRights RESULT MACHINE SERVICE HAVE_RIGHTS
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_HaveStartStopRights(${TARVO__MACHINE}, m s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${HAVE_RIGHTS}
!macroend
!define TARVO_HaveStartStopRights "!insertmacro TARVO_HaveStartStopRights"

!macro TARVO_HaveInstallServiceRights RESULT MACHINE HAVE_RIGHTS
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_HaveInstallServiceRights(${TARVO__MACHINE}, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${HAVE_RIGHTS}
!macroend
!define TARVO_HaveInstallServiceRights "!insertmacro TARVO_HaveInstallServiceRights"

!macro TARVO_EnableServiceInHWProfile RESULT MACHINE SERVICE HARDWARE_PROFILE CONTROL_SET
  !insertmacro TARVO__OptionalText CONTROL_SET `${CONTROL_SET}`
  !insertmacro TARVO__OptionalText HARDWARE_PROFILE `${HARDWARE_PROFILE}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_EnableServiceInHWProfile(${TARVO__MACHINE}, m s, ${TARVO__HARDWARE_PROFILE}, ${TARVO__CONTROL_SET}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_EnableServiceInHWProfile "!insertmacro TARVO_EnableServiceInHWProfile"

; ---- Security: grants on files and registry keys --------------------------------

!macro TARVO_SetObjectSecurity RESULT TYPE NAME ACCOUNT MASK REPLACE RECURSIVE
  Push `${RECURSIVE}`
  Push `${REPLACE}`
  Push `${MASK}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  Push `${NAME}`
  Push `${TYPE}`
  System::Call `${TARVO_DLL}::TARVO_SetObjectSecurity(i s, m s, ${TARVO__ACCOUNT}, i s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetObjectSecurity "!insertmacro TARVO_SetObjectSecurity"

!macro TARVO_SetObjectSecurityRid RESULT TYPE NAME RID DOMAIN MASK REPLACE RECURSIVE
  Push `${RECURSIVE}`
  Push `${REPLACE}`
  Push `${MASK}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  Push `${RID}`
  Push `${NAME}`
  Push `${TYPE}`
  System::Call `${TARVO_DLL}::TARVO_SetObjectSecurityRid(i s, m s, i s, ${TARVO__DOMAIN}, i s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetObjectSecurityRid "!insertmacro TARVO_SetObjectSecurityRid"

!macro TARVO_SetFileSecurity RESULT PATH ACCOUNT MASK REPLACE RECURSIVE
  Push `${RECURSIVE}`
  Push `${REPLACE}`
  Push `${MASK}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_SetFileSecurity(m s, ${TARVO__ACCOUNT}, i s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetFileSecurity "!insertmacro TARVO_SetFileSecurity"

!macro TARVO_SetFileSecurityRid RESULT PATH RID DOMAIN MASK REPLACE RECURSIVE
  Push `${RECURSIVE}`
  Push `${REPLACE}`
  Push `${MASK}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  Push `${RID}`
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_SetFileSecurityRid(m s, i s, ${TARVO__DOMAIN}, i s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetFileSecurityRid "!insertmacro TARVO_SetFileSecurityRid"

!macro TARVO_SetRegistrySecurity RESULT KEY_PATH ACCOUNT MASK REPLACE RECURSIVE
  Push `${RECURSIVE}`
  Push `${REPLACE}`
  Push `${MASK}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  Push `${KEY_PATH}`
  System::Call `${TARVO_DLL}::TARVO_SetRegistrySecurity(m s, ${TARVO__ACCOUNT}, i s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetRegistrySecurity "!insertmacro TARVO_SetRegistrySecurity"

!macro TARVO_SetRegistrySecurityRid RESULT KEY_PATH RID DOMAIN MASK REPLACE RECURSIVE
  Push `${RECURSIVE}`
  Push `${REPLACE}`
  Push `${MASK}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  Push `${RID}`
  Push `${KEY_PATH}`
  System::Call `${TARVO_DLL}::TARVO_SetRegistrySecurityRid(m s, i s, ${TARVO__DOMAIN}, i s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetRegistrySecurityRid "!insertmacro TARVO_SetRegistrySecurityRid"

; ---- Security: policies ---------------------------------------------------------

!define TARVO_POLICY_NONE 0
!define TARVO_POLICY_OPEN 1
!define TARVO_POLICY_USERS 2
!define TARVO_POLICY_LOCKED 16

!macro TARVO_DefineSecurityPolicy RESULT POLICY
  Push `${POLICY}`
  System::Call `${TARVO_DLL}::TARVO_DefineSecurityPolicy(i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DefineSecurityPolicy "!insertmacro TARVO_DefineSecurityPolicy"

!macro TARVO_GetSecurityPolicy RESULT
  System::Call `${TARVO_DLL}::TARVO_GetSecurityPolicy() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_GetSecurityPolicy "!insertmacro TARVO_GetSecurityPolicy"

!macro TARVO_ApplyFileSecurityPolicy RESULT PATH RECURSIVE
  Push `${RECURSIVE}`
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_ApplyFileSecurityPolicy(m s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_ApplyFileSecurityPolicy "!insertmacro TARVO_ApplyFileSecurityPolicy"

!macro TARVO_ApplyRegistrySecurityPolicy RESULT KEY_PATH RECURSIVE
  Push `${RECURSIVE}`
  Push `${KEY_PATH}`
  System::Call `${TARVO_DLL}::TARVO_ApplyRegistrySecurityPolicy(m s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_ApplyRegistrySecurityPolicy "!insertmacro TARVO_ApplyRegistrySecurityPolicy"

; ---- Accounts, groups and shares ------------------------------------------------

!macro TARVO_CreateAccount RESULT DOMAIN USER PASSWORD PRIVILEGE ACCOUNT_TYPE
  Push `${ACCOUNT_TYPE}`
  Push `${PRIVILEGE}`
  !insertmacro TARVO__OptionalText PASSWORD `${PASSWORD}`
  !insertmacro TARVO__OptionalText USER `${USER}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  System::Call `${TARVO_DLL}::TARVO_CreateAccount(${TARVO__DOMAIN}, ${TARVO__USER}, ${TARVO__PASSWORD}, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_CreateAccount "!insertmacro TARVO_CreateAccount"

!macro TARVO_DeleteAccount RESULT DOMAIN USER
  !insertmacro TARVO__OptionalText USER `${USER}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  System::Call `${TARVO_DLL}::TARVO_DeleteAccount(${TARVO__DOMAIN}, ${TARVO__USER}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DeleteAccount "!insertmacro TARVO_DeleteAccount"

!macro TARVO_CreateLocalGroup RESULT MACHINE GROUP COMMENT
  !insertmacro TARVO__OptionalText COMMENT `${COMMENT}`
  !insertmacro TARVO__OptionalText GROUP `${GROUP}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_CreateLocalGroup(${TARVO__MACHINE}, ${TARVO__GROUP}, ${TARVO__COMMENT}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_CreateLocalGroup "!insertmacro TARVO_CreateLocalGroup"

!macro TARVO_DeleteLocalGroup RESULT MACHINE GROUP
  !insertmacro TARVO__OptionalText GROUP `${GROUP}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_DeleteLocalGroup(${TARVO__MACHINE}, ${TARVO__GROUP}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DeleteLocalGroup "!insertmacro TARVO_DeleteLocalGroup"

!macro TARVO_AddUserToLocalGroup RESULT ACCOUNT MACHINE GROUP
  !insertmacro TARVO__OptionalText GROUP `${GROUP}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  System::Call `${TARVO_DLL}::TARVO_AddUserToLocalGroup(${TARVO__ACCOUNT}, ${TARVO__MACHINE}, ${TARVO__GROUP}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_AddUserToLocalGroup "!insertmacro TARVO_AddUserToLocalGroup"

!macro TARVO_CreateSharedFolder RESULT MACHINE PATH SHARE COMMENT
  !insertmacro TARVO__OptionalText COMMENT `${COMMENT}`
  !insertmacro TARVO__OptionalText SHARE `${SHARE}`
  !insertmacro TARVO__OptionalText PATH `${PATH}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_CreateSharedFolder(${TARVO__MACHINE}, ${TARVO__PATH}, ${TARVO__SHARE}, ${TARVO__COMMENT}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_CreateSharedFolder "!insertmacro TARVO_CreateSharedFolder"

!macro TARVO_DlgCreateAccount RESULT
  System::Call `${TARVO_DLL}::TARVO_DlgCreateAccount() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DlgCreateAccount "!insertmacro TARVO_DlgCreateAccount"

!macro TARVO_DeleteShare RESULT
  System::Call `${TARVO_DLL}::TARVO_DeleteShare() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DeleteShare "!insertmacro TARVO_DeleteShare"

!macro TARVO_DlgCreateSharedFolder RESULT
  System::Call `${TARVO_DLL}::TARVO_DlgCreateSharedFolder() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DlgCreateSharedFolder "!insertmacro TARVO_DlgCreateSharedFolder"

!macro TARVO_SetPermissions RESULT
  System::Call `${TARVO_DLL}::TARVO_SetPermissions() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_SetPermissions "!insertmacro TARVO_SetPermissions"

!macro TARVO_DlgSetPermissions RESULT
  System::Call `${TARVO_DLL}::TARVO_DlgSetPermissions() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DlgSetPermissions "!insertmacro TARVO_DlgSetPermissions"

; ---- Platform -------------------------------------------------------------------

!define TARVO_PLATFORM_UNKNOWN 101
!define TARVO_PLATFORM_WIN95 103
!define TARVO_PLATFORM_WIN98 104
!define TARVO_PLATFORM_WIN32S 105
!define TARVO_PLATFORM_NT35 106
!define TARVO_PLATFORM_NT351 107
!define TARVO_PLATFORM_NT4 108
!define TARVO_PLATFORM_NT50 109
!define TARVO_PLATFORM_WINME 110
!define TARVO_PLATFORM_NT51 111
!define TARVO_PLATFORM_NT52 112
!define TARVO_PLATFORM_NT60_WORKSTATION 113
!define TARVO_PLATFORM_NT60_SERVER 114
!define TARVO_PLATFORM_NT61_WORKSTATION 115
!define TARVO_PLATFORM_NT61_SERVER 116
!define TARVO_PLATFORM_NT62_WORKSTATION 117
!define TARVO_PLATFORM_NT62_SERVER 118
!define TARVO_PLATFORM_NT63_WORKSTATION 119
!define TARVO_PLATFORM_NT63_SERVER 120
!define TARVO_ASK_PLATFORM 150
!define TARVO_ASK_IS_NT 151
!define TARVO_ASK_IS_WINDOWS_9X 152
!define TARVO_ASK_IS_SERVER 153
!define TARVO_ASK_SERVICE_PACK 156

!macro TARVO_GetPlatform RESULT
  System::Call `${TARVO_DLL}::TARVO_GetPlatform() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_GetPlatform "!insertmacro TARVO_GetPlatform"

!macro TARVO_GetPlatformEx RESULT ITEM BOOL_BUFFER INTEGER_BUFFER
  Push `${ITEM}`
  System::Call `${TARVO_DLL}::TARVO_GetPlatformEx(i s, *i .s, *i .s) i .s ? c`
  Pop ${RESULT}
  Pop ${BOOL_BUFFER}
  Pop ${INTEGER_BUFFER}
!macroend
!define TARVO_GetPlatformEx "!insertmacro TARVO_GetPlatformEx"

!macro TARVO_Is64BitPlatform RESULT
  System::Call `${TARVO_DLL}::TARVO_Is64BitPlatform() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_Is64BitPlatform "!insertmacro TARVO_Is64BitPlatform"

!macro TARVO_GetAmountOfRAM RESULT
  System::Call `${TARVO_DLL}::TARVO_GetAmountOfRAM() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_GetAmountOfRAM "!insertmacro TARVO_GetAmountOfRAM"

; ---- Process, module and text utilities -----------------------------------------

!macro TARVO_ShellExecute RESULT COMMAND_LINE
  Push `${COMMAND_LINE}`
  System::Call `${TARVO_DLL}::TARVO_ShellExecute(m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_ShellExecute "!insertmacro TARVO_ShellExecute"

!macro TARVO_DllFunctionExist RESULT LIBRARY FUNCTION
  Push `${FUNCTION}`
  Push `${LIBRARY}`
  System::Call `${TARVO_DLL}::TARVO_DllFunctionExist(m s, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_DllFunctionExist "!insertmacro TARVO_DllFunctionExist"

!macro TARVO_ReadIniFileSection RESULT FILE SECTION BUFFER SIZE
  Push `${SIZE}`
  Push `${BUFFER}`
  Push `${SECTION}`
  Push `${FILE}`
  System::Call `${TARVO_DLL}::TARVO_ReadIniFileSection(m s, m s, p s, *i ss) i .s ? c`
  Pop ${RESULT}
  Pop ${SIZE}
!macroend
!define TARVO_ReadIniFileSection "!insertmacro TARVO_ReadIniFileSection"

!macro TARVO_MultiByteToUtf8 RESULT SOURCE CODE_PAGE DESTINATION SIZE
  Push `${SIZE}`
  Push `${DESTINATION}`
  Push `${CODE_PAGE}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_MultiByteToUtf8(m s, i s, p s, *i ss) i .s ? c`
  Pop ${RESULT}
  Pop ${SIZE}
!macroend
!define TARVO_MultiByteToUtf8 "!insertmacro TARVO_MultiByteToUtf8"

!macro TARVO_Utf8ToMultiByte RESULT SOURCE DESTINATION CODE_PAGE SIZE
  Push `${SIZE}`
  Push `${CODE_PAGE}`
  Push `${DESTINATION}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_Utf8ToMultiByte(m s, p s, i s, *i ss) i .s ? c`
  Pop ${RESULT}
  Pop ${SIZE}
!macroend
!define TARVO_Utf8ToMultiByte "!insertmacro TARVO_Utf8ToMultiByte"

; ---- Shortcuts ------------------------------------------------------------------

!macro TARVO_AddShortCut RESULT GROUP DESCRIPTION FILE START_IN RUN_STATE
  Push `${RUN_STATE}`
  !insertmacro TARVO__OptionalText START_IN `${START_IN}`
  Push `${FILE}`
  Push `${DESCRIPTION}`
  Push `${GROUP}`
  System::Call `${TARVO_DLL}::TARVO_AddShortCut(m s, m s, m s, ${TARVO__START_IN}, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_AddShortCut "!insertmacro TARVO_AddShortCut"

!macro TARVO_RemoveShortCut RESULT GROUP DESCRIPTION
  Push `${DESCRIPTION}`
  Push `${GROUP}`
  System::Call `${TARVO_DLL}::TARVO_RemoveShortCut(m s, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RemoveShortCut "!insertmacro TARVO_RemoveShortCut"

; ---- Please-wait window and restart ---------------------------------------------

!define TARVO_REBOOT_NORMAL 1
!define TARVO_REBOOT_FORCED 2

!macro TARVO_ShowProgressDialog RESULT PARENT CAPTION MESSAGE
  !insertmacro TARVO__OptionalText MESSAGE `${MESSAGE}`
  !insertmacro TARVO__OptionalText CAPTION `${CAPTION}`
  Push `${PARENT}`
  System::Call `${TARVO_DLL}::TARVO_ShowProgressDialog(p s, ${TARVO__CAPTION}, ${TARVO__MESSAGE}) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_ShowProgressDialog "!insertmacro TARVO_ShowProgressDialog"

!macro TARVO_HideProgressDialog RESULT
  System::Call `${TARVO_DLL}::TARVO_HideProgressDialog() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_HideProgressDialog "!insertmacro TARVO_HideProgressDialog"

!macro TARVO_Reboot RESULT MODE
  Push `${MODE}`
  System::Call `${TARVO_DLL}::TARVO_Reboot(i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_Reboot "!insertmacro TARVO_Reboot"

; ---- Account and folder pickers -------------------------------------------------

!define TARVO_PICKER_CANCELLED 1
!define TARVO_PICKER_UNAVAILABLE 2

!macro TARVO_DlgSelectUser RESULT OWNER USER DOMAIN
  Push `${OWNER}`
  System::Call `${TARVO_DLL}::TARVO_DlgSelectUser(p s, m .s, i ${NSIS_MAX_STRLEN}, m .s, i ${NSIS_MAX_STRLEN}) i .s ? c`
  Pop ${RESULT}
  Pop ${USER}
  Pop ${DOMAIN}
!macroend
!define TARVO_DlgSelectUser "!insertmacro TARVO_DlgSelectUser"

!macro TARVO_DlgSelectSharedFolderEx RESULT OWNER TITLE INSTRUCTIONS EDIT_BOX_ENABLE NEW_DIALOG_STYLE MY_COMPUTER_ONLY FOLDER
  Push `${FOLDER}`
  Push `${MY_COMPUTER_ONLY}`
  Push `${NEW_DIALOG_STYLE}`
  Push `${EDIT_BOX_ENABLE}`
  !insertmacro TARVO__OptionalText INSTRUCTIONS `${INSTRUCTIONS}`
  !insertmacro TARVO__OptionalText TITLE `${TITLE}`
  Push `${OWNER}`
  System::Call `${TARVO_DLL}::TARVO_DlgSelectSharedFolderEx(p s, ${TARVO__TITLE}, ${TARVO__INSTRUCTIONS}, i s, i s, i s, m ss) i .s ? c`
  Pop ${RESULT}
  Pop ${FOLDER}
!macroend
!define TARVO_DlgSelectSharedFolderEx "!insertmacro TARVO_DlgSelectSharedFolderEx"

!macro TARVO_DlgSelectSharedFolder RESULT OWNER FOLDER
  Push `${OWNER}`
  System::Call `${TARVO_DLL}::TARVO_DlgSelectSharedFolder(p s, m .s, *i ${NSIS_MAX_STRLEN}) i .s ? c`
  Pop ${RESULT}
  Pop ${FOLDER}
!macroend
!define TARVO_DlgSelectSharedFolder "!insertmacro TARVO_DlgSelectSharedFolder"

; ---- Product components ---------------------------------------------------------

!macro TARVO_StartKOB RESULT
  System::Call `${TARVO_DLL}::TARVO_StartKOB() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_StartKOB "!insertmacro TARVO_StartKOB"

!macro TARVO_StopKOB RESULT
  System::Call `${TARVO_DLL}::TARVO_StopKOB() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_StopKOB "!insertmacro TARVO_StopKOB"

!macro TARVO_StartKOBA RESULT
  System::Call `${TARVO_DLL}::TARVO_StartKOBA() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_StartKOBA "!insertmacro TARVO_StartKOBA"

!macro TARVO_StopKOBA RESULT
  System::Call `${TARVO_DLL}::TARVO_StopKOBA() i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_StopKOBA "!insertmacro TARVO_StopKOBA"

!macro TARVO_InstallDefaultPolicyFile RESULT SOURCE DIRECTORY
  Push `${DIRECTORY}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_InstallDefaultPolicyFile(m s, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_InstallDefaultPolicyFile "!insertmacro TARVO_InstallDefaultPolicyFile"

; ---- Management plug-ins --------------------------------------------------------

!macro TARVO_RegisterKobPlugIn RESULT NAME PATH
  Push `${PATH}`
  Push `${NAME}`
  System::Call `${TARVO_DLL}::TARVO_RegisterKobPlugIn(m s, m s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RegisterKobPlugIn "!insertmacro TARVO_RegisterKobPlugIn"

!macro TARVO_RegisterKobaPlugInEx RESULT RESERVED TYPE START_MODE ERROR_CONTROL NAME OID PATH DEPENDENCIES RESTART_ATTEMPTS RESTART_INTERVAL WAITING_INTERVAL
  Push `${WAITING_INTERVAL}`
  Push `${RESTART_INTERVAL}`
  Push `${RESTART_ATTEMPTS}`
  Push `${DEPENDENCIES}`
  Push `${PATH}`
  Push `${OID}`
  Push `${NAME}`
  Push `${ERROR_CONTROL}`
  Push `${START_MODE}`
  Push `${TYPE}`
  Push `${RESERVED}`
  System::Call `${TARVO_DLL}::TARVO_RegisterKobaPlugInEx(i s, i s, i s, i s, m s, m s, m s, p s, i s, i s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RegisterKobaPlugInEx "!insertmacro TARVO_RegisterKobaPlugInEx"

!macro TARVO_RegisterKobaPlugIn RESULT RESERVED TYPE START_MODE ERROR_CONTROL NAME OID PATH DEPENDENCIES
  Push `${DEPENDENCIES}`
  Push `${PATH}`
  Push `${OID}`
  Push `${NAME}`
  Push `${ERROR_CONTROL}`
  Push `${START_MODE}`
  Push `${TYPE}`
  Push `${RESERVED}`
  System::Call `${TARVO_DLL}::TARVO_RegisterKobaPlugIn(i s, i s, i s, i s, m s, m s, m s, p s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RegisterKobaPlugIn "!insertmacro TARVO_RegisterKobaPlugIn"

!macro TARVO_RegisterKobaPlugInProperty RESULT NAME PROPERTY TYPE DATA SIZE
  Push `${SIZE}`
  Push `${DATA}`
  Push `${TYPE}`
  !insertmacro TARVO__OptionalText PROPERTY `${PROPERTY}`
  Push `${NAME}`
  System::Call `${TARVO_DLL}::TARVO_RegisterKobaPlugInProperty(m s, ${TARVO__PROPERTY}, i s, p s, i s) i .s ? c`
  Pop ${RESULT}
!macroend
!define TARVO_RegisterKobaPlugInProperty "!insertmacro TARVO_RegisterKobaPlugInProperty"

!endif
