; Calling TARVO.DLL from NSIS 3: a macro for each export.
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
; - Where a number belongs, a word does not compile. The names that Windows has
;   for the numbers (REG_SZ, SERVICE_AUTO_START, SW_SHOWNORMAL) are defined here.
; - Lists of texts, windows, bytes, and buffers whose size is asked for are
;   addresses, or 0. TARVO_List makes a list, one text a line:
;     ${TARVO_List} $1 "Tcpip$\nRpcSs"
;     ${TARVO_FreeList} $1
;   The data of a REG_MULTI_SZ is written with its lines in the locator itself.
; - Results are numbers, also of a call that could not be made: then what loading
;   the library gave, such as 126, and never 0.
; - Numbers come back signed: TARVO_ERROR_FAILED is -1, TARVO_ERROR_NO_LOG -2.
;   NSIS compares them as numbers with = and <>.
; - A text may hold any characters but ` (NSIS's own macros have the same limit).
; - The stack is as it was after a call, and no variable is changed but those named.
!ifndef TARVO_INCLUDED
!define TARVO_INCLUDED

!include LogicLib.nsh
!include Util.nsh

; Where the library lies at run time.
!ifndef TARVO_DLL
  !define TARVO_DLL "$PLUGINSDIR\TARVO.dll"
!endif

!define TARVO_NULL "<TARVO_NULL>"

; ---- Loading --------------------------------------------------------------------

; Unpacks and loads the library, which is FILE at compile time. Once in the setup, once in the uninstaller. Where it
; cannot be loaded, a message tells so, and the setup ends with 2.
!macro TARVO_Load FILE
  Push $0
  ${TARVO_TryLoad} $0 `${FILE}`
  ${If} $0 <> 0
    ${TARVO_LastError} $0
    MessageBox MB_OK|MB_ICONSTOP `$0` /SD IDOK
    SetErrorLevel 2
    Quit
  ${EndIf}
  Pop $0
!macroend

; The same, but hands out 0, or the code of loading, and goes on.
!macro TARVO_TryLoad RESULT FILE
  !insertmacro TARVO__In32BitSetups
  ${CallArtificialFunction} TARVO__IsLoaded
  Pop ${RESULT}
  ${If} ${RESULT} = 0
    InitPluginsDir
    File "/oname=$PLUGINSDIR\TARVO.dll" "${FILE}"
  ${EndIf}
  ${CallArtificialFunction} TARVO__LoadOnce
  Pop ${RESULT}
!macroend
!define TARVO_TryLoad "!insertmacro TARVO_TryLoad"

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

!macro TARVO__In32BitSetups
  !if ${NSIS_PTR_SIZE} > 4
    !error "TARVO.DLL is a 32-bit library: it needs a setup with the Target x86-unicode or x86-ansi"
  !endif
!macroend
!insertmacro TARVO__In32BitSetups

; Pushes the library's handle, 0 if it is not loaded.
!macro TARVO__IsLoaded
  System::Call `kernel32::GetModuleHandle(t "${TARVO_DLL}") p .s`
!macroend

; Pushes 0, or why the library cannot be loaded.
!macro TARVO__LoadOnce
  Push $0
  ${CallArtificialFunction} TARVO__IsLoaded
  Pop $0
  ${If} $0 = 0
    System::Call `kernel32::LoadLibrary(t "${TARVO_DLL}") p .r0 ? e`
    ${If} $0 <> 0
      Pop $0 ; what the system says of a success
      StrCpy $0 0
    ${Else}
      Pop $0
      ${If} $0 = 0
        StrCpy $0 126 ; never a success
      ${EndIf}
    ${EndIf}
  ${Else}
    StrCpy $0 0
  ${EndIf}
  Exch $0
!macroend

; Pushes the code for a call that could not be made, never 0.
!macro TARVO__WhyNotCalled
  Push $0
  ${CallArtificialFunction} TARVO__LoadOnce
  Pop $0
  ${If} $0 = 0
    StrCpy $0 127 ; another library of that name
  ${EndIf}
  Exch $0
!macroend

; Takes the result of a call from the stack: a number, whatever happened.
!macro TARVO__Result RESULT
  Pop ${RESULT}
  ${If} ${RESULT} == error
    ${CallArtificialFunction} TARVO__WhyNotCalled
    Pop ${RESULT}
  ${EndIf}
!macroend

; Takes the end of a call and its text from the stack; without a library the text tells that.
!macro TARVO__FailureText BUFFER
  ${CallArtificialFunction} TARVO__TextOrWhyNotCalled
  Pop ${BUFFER}
!macroend

!macro TARVO__TextOrWhyNotCalled
  Exch $0
  ${If} $0 == error
    Pop $0
    Exch $0
    ${CallArtificialFunction} TARVO__WhyNotCalled
    Pop $0
    StrCpy $0 "Cannot load ${TARVO_DLL} (error $0)"
    Exch $0
  ${Else}
    Pop $0
  ${EndIf}
!macroend

; ---- Arguments ------------------------------------------------------------------

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

; Pushes a number: written out, several joined by |, or in a variable.
!macro TARVO__Number NAME VALUE
  !insertmacro TARVO__MustBeNumber "${NAME} must be a number" `${VALUE}`
  Push `${VALUE}`
!macroend

; Pushes an address, or 0.
!macro TARVO__Address NAME VALUE
  !if `${VALUE}` == `${TARVO_NULL}`
    Push 0
  !else
    !insertmacro TARVO__MustBeNumber "${NAME} must be an address, for a list that of TARVO_List, or 0" `${VALUE}`
    Push `${VALUE}`
  !endif
!macroend

; makensis reads a word as 0, and warns of it.
!macro TARVO__MustBeNumber WHAT VALUE
  !searchreplace TARVO__REST `${VALUE}` "${U+24}{" ""
  !if `${TARVO__REST}` != `${VALUE}`
    !error `${WHAT}, and nothing defines ${VALUE}`
  !endif
  !searchreplace TARVO__REST `${VALUE}` "${U+24}" ""
  !if `${TARVO__REST}` == `${VALUE}`
    !searchreplace TARVO__REST `${VALUE}` "|0x" ""
    !searchreplace TARVO__REST `${TARVO__REST}` "|" ""
    !pragma warning push
    !pragma warning disable 7070
    !if `${TARVO__REST}` = 0
      !searchreplace TARVO__WORD `${TARVO__REST}` "0x" ""
      !searchreplace TARVO__WORD `${TARVO__WORD}` "0" ""
      !if `${VALUE}` == ""
        !error `${WHAT}, not nothing`
      !else if `${TARVO__WORD}` != ""
        !error `${WHAT}, not "${VALUE}"`
      !endif
    !endif
    !pragma warning error 7070 ; nor is a number with something behind it one
    !if `${TARVO__REST}` = 0
    !endif
    !pragma warning pop
  !endif
!macroend

; Makes a list out of the lines of TEXT; TARVO_FreeList frees it.
!macro TARVO_List RESULT TEXT
  Push `${TEXT}`
  ${CallArtificialFunction} TARVO__MakeList
  Pop ${RESULT}
!macroend
!define TARVO_List "!insertmacro TARVO_List"

!macro TARVO_FreeList LIST
  System::Free `${LIST}`
!macroend
!define TARVO_FreeList "!insertmacro TARVO_FreeList"

; Sets $1 to the address of a copy of the text in $0, with two zeros behind it.
!macro TARVO__CopyText
  StrLen $1 $0
  IntOp $1 $1 * 3 ; what a character may take, and the zeros behind
  IntOp $1 $1 + 2
  System::Call `kernel32::GlobalAlloc(i 0x40, i r1) p .r1`
  System::Call `kernel32::lstrcpyA(p r1, m r0)`
!macroend

; Takes a text from the stack, pushes the address of its lines as a list.
!macro TARVO__MakeList
  Exch $0
  Push $1
  Push $2
  !insertmacro TARVO__CopyText
  StrCpy $0 $1
  ${Do}
    System::Call `shlwapi::StrChrA(p r1, i 10) p .r2`
    ${If} $2 = 0
      ${ExitDo}
    ${EndIf}
    System::Call `*$2(&i1 0)`
    IntOp $1 $2 + 1
  ${Loop}
  Pop $2
  Pop $1
  Exch $0
!macroend

; Pushes a locator, and defines TARVO__LOCATOR, its type in a call: with the lines of a REG_MULTI_SZ its address, which
; TARVO__FreeLocator takes from the stack after the call.
!macro TARVO__Locator VALUE TYPE
  !pragma warning push
  !pragma warning disable 7070 ; several numbers joined, which are no list's
  !searchreplace TARVO__REST `${TYPE}` "${U+24}" ""
  !if `${TARVO__REST}` != `${TYPE}`
    Push `${VALUE}`
    Push `${TYPE}`
    ${CallArtificialFunction} TARVO__MakeLocator
    !define /redef TARVO__LOCATOR "p ss"
  !else if `${TYPE}` = ${REG_MULTI_SZ}
    Push `${VALUE}`
    ${CallArtificialFunction} TARVO__MakeList
    !define /redef TARVO__LOCATOR "p ss"
  !else
    Push `${VALUE}`
    !define /redef TARVO__LOCATOR "m s"
  !endif
  !pragma warning pop
!macroend

!macro TARVO__FreeLocator
  !if "${TARVO__LOCATOR}" == "p ss"
    System::Call `kernel32::GlobalFree(p s)`
  !endif
!macroend

; Takes type and locator from the stack: another type than REG_MULTI_SZ is a list of one text, line ends and all.
!macro TARVO__MakeLocator
  Exch $0
  ${If} $0 = ${REG_MULTI_SZ}
    Pop $0
    ${CallArtificialFunction} TARVO__MakeList
  ${Else}
    Pop $0
    Exch $0
    Push $1
    !insertmacro TARVO__CopyText
    StrCpy $0 $1
    Pop $1
    Exch $0
  ${EndIf}
!macroend

; ---- Numbers by the names that Windows has for them -----------------------------

!include WinMessages.nsh ; SW_SHOWNORMAL and the other ways to show a window
!include Win\WinNT.nsh   ; REG_SZ and other types, FILE_ATTRIBUTE_READONLY and others, GENERIC_READ and others
!define /ifndef REG_NONE 0 ; WinNT.nsh has none of these where the script has one
!define /ifndef REG_SZ 1
!define /ifndef REG_EXPAND_SZ 2
!define /ifndef REG_BINARY 3
!define /ifndef REG_DWORD 4
!define /ifndef REG_MULTI_SZ 7
!define /ifndef SE_FILE_OBJECT 1
!define /ifndef SE_REGISTRY_KEY 4
!define /ifndef SERVICE_KERNEL_DRIVER 0x1
!define /ifndef SERVICE_FILE_SYSTEM_DRIVER 0x2
!define /ifndef SERVICE_WIN32_OWN_PROCESS 0x10
!define /ifndef SERVICE_WIN32_SHARE_PROCESS 0x20
!define /ifndef SERVICE_INTERACTIVE_PROCESS 0x100
!define /ifndef SERVICE_BOOT_START 0
!define /ifndef SERVICE_SYSTEM_START 1
!define /ifndef SERVICE_AUTO_START 2
!define /ifndef SERVICE_DEMAND_START 3
!define /ifndef SERVICE_DISABLED 4
!define /ifndef SERVICE_NO_CHANGE 0xFFFFFFFF
!define /ifndef SERVICE_STOPPED 1
!define /ifndef SERVICE_START_PENDING 2
!define /ifndef SERVICE_STOP_PENDING 3
!define /ifndef SERVICE_RUNNING 4
!define /ifndef SERVICE_CONTINUE_PENDING 5
!define /ifndef SERVICE_PAUSE_PENDING 6
!define /ifndef SERVICE_PAUSED 7
!define /ifndef EVENTLOG_ERROR_TYPE 0x1
!define /ifndef EVENTLOG_WARNING_TYPE 0x2
!define /ifndef EVENTLOG_INFORMATION_TYPE 0x4
!define /ifndef USER_PRIV_USER 1
!define /ifndef UF_PASSWD_CANT_CHANGE 0x40
!define /ifndef UF_DONT_EXPIRE_PASSWD 0x10000

; ---- Result codes of the library's own ------------------------------------------

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
  !insertmacro TARVO__Number OVERWRITE `${OVERWRITE}`
  !insertmacro TARVO__OptionalText PATH `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_StartDebugLoggingRunTime(${TARVO__PATH}, i s) ? c`
!macroend
!define TARVO_StartDebugLoggingRunTime "!insertmacro TARVO_StartDebugLoggingRunTime"

!macro TARVO_GetLastErrorMessage BUFFER
  System::Call `${TARVO_DLL}::TARVO_GetLastErrorMessage(m .s, i ${NSIS_MAX_STRLEN}) v .s ? c`
  !insertmacro TARVO__FailureText `${BUFFER}`
!macroend
!define TARVO_GetLastErrorMessage "!insertmacro TARVO_GetLastErrorMessage"

!macro TARVO_GetString RESULT CODE BUFFER
  !insertmacro TARVO__Number CODE `${CODE}`
  System::Call `${TARVO_DLL}::TARVO_GetString(i s, m .s, i ${NSIS_MAX_STRLEN}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${BUFFER}
!macroend
!define TARVO_GetString "!insertmacro TARVO_GetString"

!macro TARVO_SetLanguage RESULT
  System::Call `${TARVO_DLL}::TARVO_SetLanguage() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetLanguage "!insertmacro TARVO_SetLanguage"

!macro TARVO_GetTarvoDllInstance RESULT
  System::Call `${TARVO_DLL}::TARVO_GetTarvoDllInstance() p .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
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
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_CreateDirectory "!insertmacro TARVO_CreateDirectory"

!macro TARVO_ResetFileReadOnlyAttribute RESULT PATH ATTRIBUTES
  !insertmacro TARVO__Number ATTRIBUTES `${ATTRIBUTES}`
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_ResetFileReadOnlyAttribute(m s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_ResetFileReadOnlyAttribute "!insertmacro TARVO_ResetFileReadOnlyAttribute"

!macro TARVO_CopyFile RESULT SOURCE DESTINATION FAIL_IF_EXISTS
  !insertmacro TARVO__Number FAIL_IF_EXISTS `${FAIL_IF_EXISTS}`
  Push `${DESTINATION}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_CopyFile(m s, m s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_CopyFile "!insertmacro TARVO_CopyFile"

!macro TARVO_CopyFileEx RESULT SOURCE DESTINATION FAIL_IF_EXISTS NEED_RESTART
  !insertmacro TARVO__Number FAIL_IF_EXISTS `${FAIL_IF_EXISTS}`
  Push `${DESTINATION}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_CopyFileEx(m s, m s, i s, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${NEED_RESTART}
!macroend
!define TARVO_CopyFileEx "!insertmacro TARVO_CopyFileEx"

!macro TARVO_MoveFileEx RESULT SOURCE DESTINATION FAIL_IF_EXISTS NEED_RESTART
  !insertmacro TARVO__Number FAIL_IF_EXISTS `${FAIL_IF_EXISTS}`
  Push `${DESTINATION}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_MoveFileEx(m s, m s, i s, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${NEED_RESTART}
!macroend
!define TARVO_MoveFileEx "!insertmacro TARVO_MoveFileEx"

!macro TARVO_DeleteFileEx RESULT PATH NEED_RESTART
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_DeleteFileEx(m s, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${NEED_RESTART}
!macroend
!define TARVO_DeleteFileEx "!insertmacro TARVO_DeleteFileEx"

!macro TARVO_DeleteAfterReboot RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_DeleteAfterReboot(m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DeleteAfterReboot "!insertmacro TARVO_DeleteAfterReboot"

; ---- Pending operations: the Session Manager's list -----------------------------

!macro TARVO_ReceivePFOsInfo RESULT
  System::Call `${TARVO_DLL}::TARVO_ReceivePFOsInfo() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_ReceivePFOsInfo "!insertmacro TARVO_ReceivePFOsInfo"

!macro TARVO_UpdatePFOsInfo RESULT
  System::Call `${TARVO_DLL}::TARVO_UpdatePFOsInfo() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_UpdatePFOsInfo "!insertmacro TARVO_UpdatePFOsInfo"

!macro TARVO_RenameAfterReboot RESULT SOURCE TARGET
  !insertmacro TARVO__OptionalText TARGET `${TARGET}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_RenameAfterReboot(m s, ${TARVO__TARGET}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RenameAfterReboot "!insertmacro TARVO_RenameAfterReboot"

!macro TARVO_RemovePendingFileOperation RESULT SOURCE DESTINATION
  !insertmacro TARVO__OptionalText DESTINATION `${DESTINATION}`
  !insertmacro TARVO__OptionalText SOURCE `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_RemovePendingFileOperation(${TARVO__SOURCE}, ${TARVO__DESTINATION}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RemovePendingFileOperation "!insertmacro TARVO_RemovePendingFileOperation"

!macro TARVO_FindSourceInPFOs RESULT DESTINATION SOURCE
  Push `${DESTINATION}`
  System::Call `${TARVO_DLL}::TARVO_FindSourceInPFOs(m s, m .s, i ${NSIS_MAX_STRLEN}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${SOURCE}
!macroend
!define TARVO_FindSourceInPFOs "!insertmacro TARVO_FindSourceInPFOs"

!macro TARVO_SetPFOsImmediateFlush FLAG
  !insertmacro TARVO__Number FLAG `${FLAG}`
  System::Call `${TARVO_DLL}::TARVO_SetPFOsImmediateFlush(i s) ? c`
!macroend
!define TARVO_SetPFOsImmediateFlush "!insertmacro TARVO_SetPFOsImmediateFlush"

; ---- Registry -------------------------------------------------------------------

!macro TARVO_CreateRegistryEntry RESULT LOCATOR TYPE FLUSH
  !insertmacro TARVO__Number FLUSH `${FLUSH}`
  !insertmacro TARVO__Number TYPE `${TYPE}`
  !insertmacro TARVO__Locator `${LOCATOR}` `${TYPE}`
  System::Call `${TARVO_DLL}::TARVO_CreateRegistryEntry(${TARVO__LOCATOR}, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  !insertmacro TARVO__FreeLocator
!macroend
!define TARVO_CreateRegistryEntry "!insertmacro TARVO_CreateRegistryEntry"

!macro TARVO_CreateRegistryEntryEx RESULT LOCATOR TYPE FLUSH VIRTUALIZED
  !insertmacro TARVO__Number VIRTUALIZED `${VIRTUALIZED}`
  !insertmacro TARVO__Number FLUSH `${FLUSH}`
  !insertmacro TARVO__Number TYPE `${TYPE}`
  !insertmacro TARVO__Locator `${LOCATOR}` `${TYPE}`
  System::Call `${TARVO_DLL}::TARVO_CreateRegistryEntryEx(${TARVO__LOCATOR}, i s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  !insertmacro TARVO__FreeLocator
!macroend
!define TARVO_CreateRegistryEntryEx "!insertmacro TARVO_CreateRegistryEntryEx"

!macro TARVO_SetProductVersion RESULT VERSION PRODUCT
  Push `${PRODUCT}`
  Push `${VERSION}`
  System::Call `${TARVO_DLL}::TARVO_SetProductVersion(m s, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetProductVersion "!insertmacro TARVO_SetProductVersion"

!macro TARVO_RegisterDelayLoadLibrary RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_RegisterDelayLoadLibrary(m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RegisterDelayLoadLibrary "!insertmacro TARVO_RegisterDelayLoadLibrary"

!macro TARVO_UnRegisterDelayLoadLibrary RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_UnRegisterDelayLoadLibrary(m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_UnRegisterDelayLoadLibrary "!insertmacro TARVO_UnRegisterDelayLoadLibrary"

!macro TARVO_RegisterLocalizationResource RESULT DIRECTORY BASE_NAME
  Push `${BASE_NAME}`
  Push `${DIRECTORY}`
  System::Call `${TARVO_DLL}::TARVO_RegisterLocalizationResource(m s, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RegisterLocalizationResource "!insertmacro TARVO_RegisterLocalizationResource"

!macro TARVO_AddEventSource RESULT SOURCE MESSAGE_FILE TYPES CATEGORIES
  !insertmacro TARVO__Number CATEGORIES `${CATEGORIES}`
  !insertmacro TARVO__Number TYPES `${TYPES}`
  Push `${MESSAGE_FILE}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_AddEventSource(m s, m s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_AddEventSource "!insertmacro TARVO_AddEventSource"

!macro TARVO_DeleteEventSource RESULT SOURCE
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_DeleteEventSource(m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DeleteEventSource "!insertmacro TARVO_DeleteEventSource"

; ---- Uninstall log: recording ---------------------------------------------------

!macro TARVO_StartUninstallLogging RESULT FILE PLUG_IN
  !insertmacro TARVO__OptionalText PLUG_IN `${PLUG_IN}`
  Push `${FILE}`
  System::Call `${TARVO_DLL}::TARVO_StartUninstallLogging(m s, ${TARVO__PLUG_IN}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_StartUninstallLogging "!insertmacro TARVO_StartUninstallLogging"

!macro TARVO_StopUninstallLogging RESULT
  System::Call `${TARVO_DLL}::TARVO_StopUninstallLogging() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_StopUninstallLogging "!insertmacro TARVO_StopUninstallLogging"

!macro TARVO_AddRollbackEntry RESULT SECTION ENTRY VALUE SINGLE
  !insertmacro TARVO__Number SINGLE `${SINGLE}`
  Push `${VALUE}`
  !insertmacro TARVO__OptionalText ENTRY `${ENTRY}`
  Push `${SECTION}`
  System::Call `${TARVO_DLL}::TARVO_AddRollbackEntry(m s, ${TARVO__ENTRY}, m s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_AddRollbackEntry "!insertmacro TARVO_AddRollbackEntry"

!macro TARVO_AddFileToUninstallLog RESULT PATH
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_AddFileToUninstallLog(m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_AddFileToUninstallLog "!insertmacro TARVO_AddFileToUninstallLog"

!macro TARVO_SetCustomUnInstallString RESULT NAME VALUE
  Push `${VALUE}`
  Push `${NAME}`
  System::Call `${TARVO_DLL}::TARVO_SetCustomUnInstallString(m s, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
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
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_OpenRollBackLog "!insertmacro TARVO_OpenRollBackLog"

!macro TARVO_CloseRollBackLog RESULT
  System::Call `${TARVO_DLL}::TARVO_CloseRollBackLog() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_CloseRollBackLog "!insertmacro TARVO_CloseRollBackLog"

!macro TARVO_PerformUnInstall RESULT OPERATION
  !insertmacro TARVO__Number OPERATION `${OPERATION}`
  System::Call `${TARVO_DLL}::TARVO_PerformUnInstall(i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_PerformUnInstall "!insertmacro TARVO_PerformUnInstall"

!macro TARVO_GetCustomUnInstallString RESULT NAME BUFFER
  Push `${NAME}`
  System::Call `${TARVO_DLL}::TARVO_GetCustomUnInstallString(m s, m .s, i ${NSIS_MAX_STRLEN}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${BUFFER}
!macroend
!define TARVO_GetCustomUnInstallString "!insertmacro TARVO_GetCustomUnInstallString"

; ---- Services -------------------------------------------------------------------

!macro TARVO_InstallService RESULT MACHINE SERVICE DISPLAY_NAME SERVICE_TYPE START_TYPE BINARY_PATH DEPENDENCIES ACCOUNT PASSWORD CHANGE_EXISTING
  !insertmacro TARVO__Number CHANGE_EXISTING `${CHANGE_EXISTING}`
  !insertmacro TARVO__OptionalText PASSWORD `${PASSWORD}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  !insertmacro TARVO__Address DEPENDENCIES `${DEPENDENCIES}`
  Push `${BINARY_PATH}`
  !insertmacro TARVO__Number START_TYPE `${START_TYPE}`
  !insertmacro TARVO__Number SERVICE_TYPE `${SERVICE_TYPE}`
  !insertmacro TARVO__OptionalText DISPLAY_NAME `${DISPLAY_NAME}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_InstallService(${TARVO__MACHINE}, m s, ${TARVO__DISPLAY_NAME}, i s, i s, m s, p s, ${TARVO__ACCOUNT}, ${TARVO__PASSWORD}, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_InstallService "!insertmacro TARVO_InstallService"

!macro TARVO_ChangeServiceConfig RESULT MACHINE SERVICE START_TYPE SERVICE_TYPE BINARY_PATH ACCOUNT PASSWORD DISPLAY_NAME
  !insertmacro TARVO__OptionalText DISPLAY_NAME `${DISPLAY_NAME}`
  !insertmacro TARVO__OptionalText PASSWORD `${PASSWORD}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  !insertmacro TARVO__OptionalText BINARY_PATH `${BINARY_PATH}`
  !insertmacro TARVO__Number SERVICE_TYPE `${SERVICE_TYPE}`
  !insertmacro TARVO__Number START_TYPE `${START_TYPE}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_ChangeServiceConfig(${TARVO__MACHINE}, m s, i s, i s, ${TARVO__BINARY_PATH}, ${TARVO__ACCOUNT}, ${TARVO__PASSWORD}, ${TARVO__DISPLAY_NAME}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_ChangeServiceConfig "!insertmacro TARVO_ChangeServiceConfig"

!macro TARVO_ChangeServiceConfig2 RESULT MACHINE SERVICE LEVEL INFORMATION
  !insertmacro TARVO__Number INFORMATION `${INFORMATION}`
  !insertmacro TARVO__Number LEVEL `${LEVEL}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_ChangeServiceConfig2(${TARVO__MACHINE}, m s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_ChangeServiceConfig2 "!insertmacro TARVO_ChangeServiceConfig2"

!macro TARVO_GetServiceConfig RESULT MACHINE SERVICE START_TYPE INTERACTIVE BINARY_PATH ACCOUNT DISPLAY_NAME
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_GetServiceConfig(${TARVO__MACHINE}, m s, *i .s, *i .s, m .s, m .s, m .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
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
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${INSTALLED}
!macroend
!define TARVO_IsServiceInstalled "!insertmacro TARVO_IsServiceInstalled"

!macro TARVO_RemoveService RESULT MACHINE SERVICE
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_RemoveService(${TARVO__MACHINE}, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RemoveService "!insertmacro TARVO_RemoveService"

!macro TARVO_StartService RESULT MACHINE SERVICE
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_StartService(${TARVO__MACHINE}, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_StartService "!insertmacro TARVO_StartService"

!macro TARVO_StopService RESULT MACHINE SERVICE
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_StopService(${TARVO__MACHINE}, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_StopService "!insertmacro TARVO_StopService"

!macro TARVO_SendUserControl RESULT MACHINE SERVICE CONTROL
  !insertmacro TARVO__Number CONTROL `${CONTROL}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_SendUserControl(${TARVO__MACHINE}, m s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SendUserControl "!insertmacro TARVO_SendUserControl"

!macro TARVO_GetServiceStatus RESULT MACHINE SERVICE INTERACTIVE STATE
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_GetServiceStatus(${TARVO__MACHINE}, m s, *i .s, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${INTERACTIVE}
  Pop ${STATE}
!macroend
!define TARVO_GetServiceStatus "!insertmacro TARVO_GetServiceStatus"

!macro TARVO_WaitForServiceState RESULT MACHINE SERVICE STATE TIMEOUT EXIT_CODE
  !insertmacro TARVO__Number TIMEOUT `${TIMEOUT}`
  !insertmacro TARVO__Number STATE `${STATE}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_WaitForServiceState(${TARVO__MACHINE}, m s, i s, i s, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${EXIT_CODE}
!macroend
!define TARVO_WaitForServiceState "!insertmacro TARVO_WaitForServiceState"

!macro TARVO_HaveChangeConfigRights RESULT MACHINE SERVICE HAVE_RIGHTS
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_HaveChangeConfigRights(${TARVO__MACHINE}, m s, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${HAVE_RIGHTS}
!macroend
!define TARVO_HaveChangeConfigRights "!insertmacro TARVO_HaveChangeConfigRights"

!macro TARVO_HaveStartStopRights RESULT MACHINE SERVICE HAVE_RIGHTS
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_HaveStartStopRights(${TARVO__MACHINE}, m s, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${HAVE_RIGHTS}
!macroend
!define TARVO_HaveStartStopRights "!insertmacro TARVO_HaveStartStopRights"

!macro TARVO_HaveInstallServiceRights RESULT MACHINE HAVE_RIGHTS
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_HaveInstallServiceRights(${TARVO__MACHINE}, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${HAVE_RIGHTS}
!macroend
!define TARVO_HaveInstallServiceRights "!insertmacro TARVO_HaveInstallServiceRights"

!macro TARVO_EnableServiceInHWProfile RESULT MACHINE SERVICE HARDWARE_PROFILE CONTROL_SET
  !insertmacro TARVO__OptionalText CONTROL_SET `${CONTROL_SET}`
  !insertmacro TARVO__OptionalText HARDWARE_PROFILE `${HARDWARE_PROFILE}`
  Push `${SERVICE}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_EnableServiceInHWProfile(${TARVO__MACHINE}, m s, ${TARVO__HARDWARE_PROFILE}, ${TARVO__CONTROL_SET}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_EnableServiceInHWProfile "!insertmacro TARVO_EnableServiceInHWProfile"

; ---- Security: grants on files and registry keys --------------------------------

!define TARVO_ACCESS_READ 0xA0000000
!define TARVO_ACCESS_CHANGE 0xE0010000
!define TARVO_ACCESS_FULL 0x10000000
!define TARVO_RID_EVERYONE 0
!define TARVO_RID_AUTHENTICATED_USERS 11
!define TARVO_RID_SYSTEM 18
!define TARVO_RID_LOCAL_SERVICE 19
!define TARVO_RID_NETWORK_SERVICE 20
!define TARVO_RID_ADMINISTRATORS 544
!define TARVO_RID_USERS 545
!define TARVO_RID_GUESTS 546
!define TARVO_RID_POWER_USERS 547

!macro TARVO_SetObjectSecurity RESULT TYPE NAME ACCOUNT MASK REPLACE RECURSIVE
  !insertmacro TARVO__Number RECURSIVE `${RECURSIVE}`
  !insertmacro TARVO__Number REPLACE `${REPLACE}`
  !insertmacro TARVO__Number MASK `${MASK}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  Push `${NAME}`
  !insertmacro TARVO__Number TYPE `${TYPE}`
  System::Call `${TARVO_DLL}::TARVO_SetObjectSecurity(i s, m s, ${TARVO__ACCOUNT}, i s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetObjectSecurity "!insertmacro TARVO_SetObjectSecurity"

!macro TARVO_SetObjectSecurityRid RESULT TYPE NAME RID DOMAIN MASK REPLACE RECURSIVE
  !insertmacro TARVO__Number RECURSIVE `${RECURSIVE}`
  !insertmacro TARVO__Number REPLACE `${REPLACE}`
  !insertmacro TARVO__Number MASK `${MASK}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  !insertmacro TARVO__Number RID `${RID}`
  Push `${NAME}`
  !insertmacro TARVO__Number TYPE `${TYPE}`
  System::Call `${TARVO_DLL}::TARVO_SetObjectSecurityRid(i s, m s, i s, ${TARVO__DOMAIN}, i s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetObjectSecurityRid "!insertmacro TARVO_SetObjectSecurityRid"

!macro TARVO_SetFileSecurity RESULT PATH ACCOUNT MASK REPLACE RECURSIVE
  !insertmacro TARVO__Number RECURSIVE `${RECURSIVE}`
  !insertmacro TARVO__Number REPLACE `${REPLACE}`
  !insertmacro TARVO__Number MASK `${MASK}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_SetFileSecurity(m s, ${TARVO__ACCOUNT}, i s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetFileSecurity "!insertmacro TARVO_SetFileSecurity"

!macro TARVO_SetFileSecurityRid RESULT PATH RID DOMAIN MASK REPLACE RECURSIVE
  !insertmacro TARVO__Number RECURSIVE `${RECURSIVE}`
  !insertmacro TARVO__Number REPLACE `${REPLACE}`
  !insertmacro TARVO__Number MASK `${MASK}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  !insertmacro TARVO__Number RID `${RID}`
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_SetFileSecurityRid(m s, i s, ${TARVO__DOMAIN}, i s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetFileSecurityRid "!insertmacro TARVO_SetFileSecurityRid"

!macro TARVO_SetRegistrySecurity RESULT KEY_PATH ACCOUNT MASK REPLACE RECURSIVE
  !insertmacro TARVO__Number RECURSIVE `${RECURSIVE}`
  !insertmacro TARVO__Number REPLACE `${REPLACE}`
  !insertmacro TARVO__Number MASK `${MASK}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  Push `${KEY_PATH}`
  System::Call `${TARVO_DLL}::TARVO_SetRegistrySecurity(m s, ${TARVO__ACCOUNT}, i s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetRegistrySecurity "!insertmacro TARVO_SetRegistrySecurity"

!macro TARVO_SetRegistrySecurityRid RESULT KEY_PATH RID DOMAIN MASK REPLACE RECURSIVE
  !insertmacro TARVO__Number RECURSIVE `${RECURSIVE}`
  !insertmacro TARVO__Number REPLACE `${REPLACE}`
  !insertmacro TARVO__Number MASK `${MASK}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  !insertmacro TARVO__Number RID `${RID}`
  Push `${KEY_PATH}`
  System::Call `${TARVO_DLL}::TARVO_SetRegistrySecurityRid(m s, i s, ${TARVO__DOMAIN}, i s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetRegistrySecurityRid "!insertmacro TARVO_SetRegistrySecurityRid"

; ---- Security: policies ---------------------------------------------------------

!define TARVO_POLICY_NONE 0
!define TARVO_POLICY_OPEN 1
!define TARVO_POLICY_USERS 2
!define TARVO_POLICY_LOCKED 16

!macro TARVO_DefineSecurityPolicy RESULT POLICY
  !insertmacro TARVO__Number POLICY `${POLICY}`
  System::Call `${TARVO_DLL}::TARVO_DefineSecurityPolicy(i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DefineSecurityPolicy "!insertmacro TARVO_DefineSecurityPolicy"

!macro TARVO_GetSecurityPolicy RESULT
  System::Call `${TARVO_DLL}::TARVO_GetSecurityPolicy() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_GetSecurityPolicy "!insertmacro TARVO_GetSecurityPolicy"

!macro TARVO_ApplyFileSecurityPolicy RESULT PATH RECURSIVE
  !insertmacro TARVO__Number RECURSIVE `${RECURSIVE}`
  Push `${PATH}`
  System::Call `${TARVO_DLL}::TARVO_ApplyFileSecurityPolicy(m s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_ApplyFileSecurityPolicy "!insertmacro TARVO_ApplyFileSecurityPolicy"

!macro TARVO_ApplyRegistrySecurityPolicy RESULT KEY_PATH RECURSIVE
  !insertmacro TARVO__Number RECURSIVE `${RECURSIVE}`
  Push `${KEY_PATH}`
  System::Call `${TARVO_DLL}::TARVO_ApplyRegistrySecurityPolicy(m s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_ApplyRegistrySecurityPolicy "!insertmacro TARVO_ApplyRegistrySecurityPolicy"

; ---- Accounts, groups and shares ------------------------------------------------

!macro TARVO_CreateAccount RESULT DOMAIN USER PASSWORD PRIVILEGE ACCOUNT_TYPE
  !insertmacro TARVO__Number ACCOUNT_TYPE `${ACCOUNT_TYPE}`
  !insertmacro TARVO__Number PRIVILEGE `${PRIVILEGE}`
  !insertmacro TARVO__OptionalText PASSWORD `${PASSWORD}`
  !insertmacro TARVO__OptionalText USER `${USER}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  System::Call `${TARVO_DLL}::TARVO_CreateAccount(${TARVO__DOMAIN}, ${TARVO__USER}, ${TARVO__PASSWORD}, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_CreateAccount "!insertmacro TARVO_CreateAccount"

!macro TARVO_DeleteAccount RESULT DOMAIN USER
  !insertmacro TARVO__OptionalText USER `${USER}`
  !insertmacro TARVO__OptionalText DOMAIN `${DOMAIN}`
  System::Call `${TARVO_DLL}::TARVO_DeleteAccount(${TARVO__DOMAIN}, ${TARVO__USER}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DeleteAccount "!insertmacro TARVO_DeleteAccount"

!macro TARVO_CreateLocalGroup RESULT MACHINE GROUP COMMENT
  !insertmacro TARVO__OptionalText COMMENT `${COMMENT}`
  !insertmacro TARVO__OptionalText GROUP `${GROUP}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_CreateLocalGroup(${TARVO__MACHINE}, ${TARVO__GROUP}, ${TARVO__COMMENT}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_CreateLocalGroup "!insertmacro TARVO_CreateLocalGroup"

!macro TARVO_DeleteLocalGroup RESULT MACHINE GROUP
  !insertmacro TARVO__OptionalText GROUP `${GROUP}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_DeleteLocalGroup(${TARVO__MACHINE}, ${TARVO__GROUP}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DeleteLocalGroup "!insertmacro TARVO_DeleteLocalGroup"

!macro TARVO_AddUserToLocalGroup RESULT ACCOUNT MACHINE GROUP
  !insertmacro TARVO__OptionalText GROUP `${GROUP}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  !insertmacro TARVO__OptionalText ACCOUNT `${ACCOUNT}`
  System::Call `${TARVO_DLL}::TARVO_AddUserToLocalGroup(${TARVO__ACCOUNT}, ${TARVO__MACHINE}, ${TARVO__GROUP}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_AddUserToLocalGroup "!insertmacro TARVO_AddUserToLocalGroup"

!macro TARVO_CreateSharedFolder RESULT MACHINE PATH SHARE COMMENT
  !insertmacro TARVO__OptionalText COMMENT `${COMMENT}`
  !insertmacro TARVO__OptionalText SHARE `${SHARE}`
  !insertmacro TARVO__OptionalText PATH `${PATH}`
  !insertmacro TARVO__OptionalText MACHINE `${MACHINE}`
  System::Call `${TARVO_DLL}::TARVO_CreateSharedFolder(${TARVO__MACHINE}, ${TARVO__PATH}, ${TARVO__SHARE}, ${TARVO__COMMENT}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_CreateSharedFolder "!insertmacro TARVO_CreateSharedFolder"

!macro TARVO_DlgCreateAccount RESULT
  System::Call `${TARVO_DLL}::TARVO_DlgCreateAccount() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DlgCreateAccount "!insertmacro TARVO_DlgCreateAccount"

!macro TARVO_DeleteShare RESULT
  System::Call `${TARVO_DLL}::TARVO_DeleteShare() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DeleteShare "!insertmacro TARVO_DeleteShare"

!macro TARVO_DlgCreateSharedFolder RESULT
  System::Call `${TARVO_DLL}::TARVO_DlgCreateSharedFolder() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DlgCreateSharedFolder "!insertmacro TARVO_DlgCreateSharedFolder"

!macro TARVO_SetPermissions RESULT
  System::Call `${TARVO_DLL}::TARVO_SetPermissions() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_SetPermissions "!insertmacro TARVO_SetPermissions"

!macro TARVO_DlgSetPermissions RESULT
  System::Call `${TARVO_DLL}::TARVO_DlgSetPermissions() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
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
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_GetPlatform "!insertmacro TARVO_GetPlatform"

!macro TARVO_GetPlatformEx RESULT ITEM BOOL_BUFFER INTEGER_BUFFER
  !insertmacro TARVO__Number ITEM `${ITEM}`
  System::Call `${TARVO_DLL}::TARVO_GetPlatformEx(i s, *i .s, *i .s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${BOOL_BUFFER}
  Pop ${INTEGER_BUFFER}
!macroend
!define TARVO_GetPlatformEx "!insertmacro TARVO_GetPlatformEx"

!macro TARVO_Is64BitPlatform RESULT
  System::Call `${TARVO_DLL}::TARVO_Is64BitPlatform() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_Is64BitPlatform "!insertmacro TARVO_Is64BitPlatform"

!macro TARVO_GetAmountOfRAM RESULT
  System::Call `${TARVO_DLL}::TARVO_GetAmountOfRAM() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_GetAmountOfRAM "!insertmacro TARVO_GetAmountOfRAM"

; ---- Process, module and text utilities -----------------------------------------

!macro TARVO_ShellExecute RESULT COMMAND_LINE
  Push `${COMMAND_LINE}`
  System::Call `${TARVO_DLL}::TARVO_ShellExecute(m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_ShellExecute "!insertmacro TARVO_ShellExecute"

!macro TARVO_DllFunctionExist RESULT LIBRARY FUNCTION
  Push `${FUNCTION}`
  Push `${LIBRARY}`
  System::Call `${TARVO_DLL}::TARVO_DllFunctionExist(m s, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_DllFunctionExist "!insertmacro TARVO_DllFunctionExist"

!macro TARVO_ReadIniFileSection RESULT FILE SECTION BUFFER SIZE
  !insertmacro TARVO__Number SIZE `${SIZE}`
  !insertmacro TARVO__Address BUFFER `${BUFFER}`
  Push `${SECTION}`
  Push `${FILE}`
  System::Call `${TARVO_DLL}::TARVO_ReadIniFileSection(m s, m s, p s, *i ss) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${SIZE}
!macroend
!define TARVO_ReadIniFileSection "!insertmacro TARVO_ReadIniFileSection"

!macro TARVO_MultiByteToUtf8 RESULT SOURCE CODE_PAGE DESTINATION SIZE
  !insertmacro TARVO__Number SIZE `${SIZE}`
  !insertmacro TARVO__Address DESTINATION `${DESTINATION}`
  !insertmacro TARVO__Number CODE_PAGE `${CODE_PAGE}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_MultiByteToUtf8(m s, i s, p s, *i ss) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${SIZE}
!macroend
!define TARVO_MultiByteToUtf8 "!insertmacro TARVO_MultiByteToUtf8"

!macro TARVO_Utf8ToMultiByte RESULT SOURCE DESTINATION CODE_PAGE SIZE
  !insertmacro TARVO__Number SIZE `${SIZE}`
  !insertmacro TARVO__Number CODE_PAGE `${CODE_PAGE}`
  !insertmacro TARVO__Address DESTINATION `${DESTINATION}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_Utf8ToMultiByte(m s, p s, i s, *i ss) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${SIZE}
!macroend
!define TARVO_Utf8ToMultiByte "!insertmacro TARVO_Utf8ToMultiByte"

; ---- Shortcuts ------------------------------------------------------------------

!macro TARVO_AddShortCut RESULT GROUP DESCRIPTION FILE START_IN RUN_STATE
  !insertmacro TARVO__Number RUN_STATE `${RUN_STATE}`
  !insertmacro TARVO__OptionalText START_IN `${START_IN}`
  Push `${FILE}`
  Push `${DESCRIPTION}`
  Push `${GROUP}`
  System::Call `${TARVO_DLL}::TARVO_AddShortCut(m s, m s, m s, ${TARVO__START_IN}, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_AddShortCut "!insertmacro TARVO_AddShortCut"

!macro TARVO_RemoveShortCut RESULT GROUP DESCRIPTION
  Push `${DESCRIPTION}`
  Push `${GROUP}`
  System::Call `${TARVO_DLL}::TARVO_RemoveShortCut(m s, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RemoveShortCut "!insertmacro TARVO_RemoveShortCut"

; ---- Please-wait window and restart ---------------------------------------------

!define TARVO_REBOOT_NORMAL 1
!define TARVO_REBOOT_FORCED 2

!macro TARVO_ShowProgressDialog RESULT PARENT CAPTION MESSAGE
  !insertmacro TARVO__OptionalText MESSAGE `${MESSAGE}`
  !insertmacro TARVO__OptionalText CAPTION `${CAPTION}`
  !insertmacro TARVO__Address PARENT `${PARENT}`
  System::Call `${TARVO_DLL}::TARVO_ShowProgressDialog(p s, ${TARVO__CAPTION}, ${TARVO__MESSAGE}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_ShowProgressDialog "!insertmacro TARVO_ShowProgressDialog"

!macro TARVO_HideProgressDialog RESULT
  System::Call `${TARVO_DLL}::TARVO_HideProgressDialog() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_HideProgressDialog "!insertmacro TARVO_HideProgressDialog"

!macro TARVO_Reboot RESULT MODE
  !insertmacro TARVO__Number MODE `${MODE}`
  System::Call `${TARVO_DLL}::TARVO_Reboot(i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_Reboot "!insertmacro TARVO_Reboot"

; ---- Account and folder pickers -------------------------------------------------

!define TARVO_PICKER_CANCELLED 1
!define TARVO_PICKER_UNAVAILABLE 2

!macro TARVO_DlgSelectUser RESULT OWNER USER DOMAIN
  !insertmacro TARVO__Address OWNER `${OWNER}`
  System::Call `${TARVO_DLL}::TARVO_DlgSelectUser(p s, m .s, i ${NSIS_MAX_STRLEN}, m .s, i ${NSIS_MAX_STRLEN}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${USER}
  Pop ${DOMAIN}
!macroend
!define TARVO_DlgSelectUser "!insertmacro TARVO_DlgSelectUser"

!macro TARVO_DlgSelectSharedFolderEx RESULT OWNER TITLE INSTRUCTIONS EDIT_BOX_ENABLE NEW_DIALOG_STYLE MY_COMPUTER_ONLY FOLDER
  Push `${FOLDER}`
  !insertmacro TARVO__Number MY_COMPUTER_ONLY `${MY_COMPUTER_ONLY}`
  !insertmacro TARVO__Number NEW_DIALOG_STYLE `${NEW_DIALOG_STYLE}`
  !insertmacro TARVO__Number EDIT_BOX_ENABLE `${EDIT_BOX_ENABLE}`
  !insertmacro TARVO__OptionalText INSTRUCTIONS `${INSTRUCTIONS}`
  !insertmacro TARVO__OptionalText TITLE `${TITLE}`
  !insertmacro TARVO__Address OWNER `${OWNER}`
  System::Call `${TARVO_DLL}::TARVO_DlgSelectSharedFolderEx(p s, ${TARVO__TITLE}, ${TARVO__INSTRUCTIONS}, i s, i s, i s, m ss) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${FOLDER}
!macroend
!define TARVO_DlgSelectSharedFolderEx "!insertmacro TARVO_DlgSelectSharedFolderEx"

!macro TARVO_DlgSelectSharedFolder RESULT OWNER FOLDER
  !insertmacro TARVO__Address OWNER `${OWNER}`
  System::Call `${TARVO_DLL}::TARVO_DlgSelectSharedFolder(p s, m .s, *i ${NSIS_MAX_STRLEN}) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
  Pop ${FOLDER}
!macroend
!define TARVO_DlgSelectSharedFolder "!insertmacro TARVO_DlgSelectSharedFolder"

; ---- Product components ---------------------------------------------------------

!macro TARVO_StartKOB RESULT
  System::Call `${TARVO_DLL}::TARVO_StartKOB() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_StartKOB "!insertmacro TARVO_StartKOB"

!macro TARVO_StopKOB RESULT
  System::Call `${TARVO_DLL}::TARVO_StopKOB() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_StopKOB "!insertmacro TARVO_StopKOB"

!macro TARVO_StartKOBA RESULT
  System::Call `${TARVO_DLL}::TARVO_StartKOBA() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_StartKOBA "!insertmacro TARVO_StartKOBA"

!macro TARVO_StopKOBA RESULT
  System::Call `${TARVO_DLL}::TARVO_StopKOBA() i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_StopKOBA "!insertmacro TARVO_StopKOBA"

!macro TARVO_InstallDefaultPolicyFile RESULT SOURCE DIRECTORY
  Push `${DIRECTORY}`
  Push `${SOURCE}`
  System::Call `${TARVO_DLL}::TARVO_InstallDefaultPolicyFile(m s, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_InstallDefaultPolicyFile "!insertmacro TARVO_InstallDefaultPolicyFile"

; ---- Management plug-ins --------------------------------------------------------

!macro TARVO_RegisterKobPlugIn RESULT NAME PATH
  Push `${PATH}`
  Push `${NAME}`
  System::Call `${TARVO_DLL}::TARVO_RegisterKobPlugIn(m s, m s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RegisterKobPlugIn "!insertmacro TARVO_RegisterKobPlugIn"

!macro TARVO_RegisterKobaPlugInEx RESULT RESERVED TYPE START_MODE ERROR_CONTROL NAME OID PATH DEPENDENCIES RESTART_ATTEMPTS RESTART_INTERVAL WAITING_INTERVAL
  !insertmacro TARVO__Number WAITING_INTERVAL `${WAITING_INTERVAL}`
  !insertmacro TARVO__Number RESTART_INTERVAL `${RESTART_INTERVAL}`
  !insertmacro TARVO__Number RESTART_ATTEMPTS `${RESTART_ATTEMPTS}`
  !insertmacro TARVO__Address DEPENDENCIES `${DEPENDENCIES}`
  Push `${PATH}`
  Push `${OID}`
  Push `${NAME}`
  !insertmacro TARVO__Number ERROR_CONTROL `${ERROR_CONTROL}`
  !insertmacro TARVO__Number START_MODE `${START_MODE}`
  !insertmacro TARVO__Number TYPE `${TYPE}`
  !insertmacro TARVO__Number RESERVED `${RESERVED}`
  System::Call `${TARVO_DLL}::TARVO_RegisterKobaPlugInEx(i s, i s, i s, i s, m s, m s, m s, p s, i s, i s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RegisterKobaPlugInEx "!insertmacro TARVO_RegisterKobaPlugInEx"

!macro TARVO_RegisterKobaPlugIn RESULT RESERVED TYPE START_MODE ERROR_CONTROL NAME OID PATH DEPENDENCIES
  !insertmacro TARVO__Address DEPENDENCIES `${DEPENDENCIES}`
  Push `${PATH}`
  Push `${OID}`
  Push `${NAME}`
  !insertmacro TARVO__Number ERROR_CONTROL `${ERROR_CONTROL}`
  !insertmacro TARVO__Number START_MODE `${START_MODE}`
  !insertmacro TARVO__Number TYPE `${TYPE}`
  !insertmacro TARVO__Number RESERVED `${RESERVED}`
  System::Call `${TARVO_DLL}::TARVO_RegisterKobaPlugIn(i s, i s, i s, i s, m s, m s, m s, p s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RegisterKobaPlugIn "!insertmacro TARVO_RegisterKobaPlugIn"

!macro TARVO_RegisterKobaPlugInProperty RESULT NAME PROPERTY TYPE DATA SIZE
  !insertmacro TARVO__Number SIZE `${SIZE}`
  !insertmacro TARVO__Address DATA `${DATA}`
  !insertmacro TARVO__Number TYPE `${TYPE}`
  !insertmacro TARVO__OptionalText PROPERTY `${PROPERTY}`
  Push `${NAME}`
  System::Call `${TARVO_DLL}::TARVO_RegisterKobaPlugInProperty(m s, ${TARVO__PROPERTY}, i s, p s, i s) i .s ? c`
  !insertmacro TARVO__Result `${RESULT}`
!macroend
!define TARVO_RegisterKobaPlugInProperty "!insertmacro TARVO_RegisterKobaPlugInProperty"

; ---- Ready-made: uninstalling, and one run of a setup ---------------------------

; Removes all that an uninstall log lists, then the log.
;   RESULT        0, or the code of the step that failed; the log then stays
;   NEED_RESTART  1 if a recorded file goes at the next restart, else 0. The running program itself, and folders that
;                 are not empty, do not count.
!macro TARVO_Uninstall RESULT LOG NEED_RESTART
  Push `${LOG}`
  ${CallArtificialFunction} TARVO__Uninstall
  Pop ${RESULT}
  Pop ${NEED_RESTART}
!macroend
!define TARVO_Uninstall "!insertmacro TARVO_Uninstall"

; Adds to LOG what this run of the setup has recorded into a log of its own, RUN_LOG, and deletes that. A run that has
; recorded nothing has no log.
!macro TARVO_KeepRun RESULT RUN_LOG LOG
  Push `${LOG}`
  Push `${RUN_LOG}`
  ${CallArtificialFunction} TARVO__KeepRun
  Pop ${RESULT}
!macroend
!define TARVO_KeepRun "!insertmacro TARVO_KeepRun"

; Removes what this run of the setup has recorded into RUN_LOG, but for what LOG lists as well: that was there before.
; What the next restart was to put in place of such a file is taken back. LOG, which need not exist, stays as it is.
; Where there is one, items of this run with an equals sign stay: an INI file cannot be asked for them.
; RESULT and NEED_RESTART as TARVO_Uninstall hands them out.
!macro TARVO_UndoRun RESULT RUN_LOG LOG NEED_RESTART
  Push `${LOG}`
  Push `${RUN_LOG}`
  ${CallArtificialFunction} TARVO__UndoRun
  Pop ${RESULT}
  Pop ${NEED_RESTART}
!macroend
!define TARVO_UndoRun "!insertmacro TARVO_UndoRun"

; Takes a log from the stack, pushes whether a restart is needed, then the result.
!macro TARVO__Uninstall
  Exch $0 ; the log
  Push $1
  Push $2
  Push $3
  StrCpy $2 0
  ${TARVO_OpenRollBackLog} $1 $0
  ${If} $1 = 0
    ${TARVO_PerformUnInstall} $1 ${TARVO_UNINSTALL_SERVICES} ; what runs holds its file
    !insertmacro TARVO__NextStep ${TARVO_UNINSTALL_REGISTRY}
    !insertmacro TARVO__NextStep ${TARVO_UNINSTALL_FILES}
    !insertmacro TARVO__NextStep ${TARVO_UNINSTALL_SHORTCUTS}
    ${TARVO_CloseRollBackLog} $3
  ${EndIf}
  ${If} $1 = 0
    Push $0
    ${CallArtificialFunction} TARVO__FilesWait
    Pop $2
    ${TARVO_DeleteFileEx} $1 $0 $3
  ${EndIf}
  StrCpy $0 $1
  StrCpy $1 $2
  Pop $3
  Pop $2
  Exch $1
  Exch
  Exch $0
!macroend

!macro TARVO__NextStep OPERATION
  ${If} $1 = 0
    ${TARVO_PerformUnInstall} $1 ${OPERATION}
  ${EndIf}
!macroend

; Takes section and log from the stack, pushes the address of a list of its lines; with none that of an empty one.
!macro TARVO__Section
  Exch $0 ; section
  Exch
  Exch $1 ; log
  Push $2
  Push $3
  StrCpy $3 2
  ${TARVO_ReadIniFileSection} $2 $1 $0 0 $3
  System::Call `kernel32::GlobalAlloc(i 0x40, i r3) p .r2`
  ${TARVO_ReadIniFileSection} $0 $1 $0 $2 $3
  StrCpy $0 $2
  Pop $3
  Pop $2
  Pop $1
  Exch $0
!macroend

; Between these two stands what is done for each line of a section: $3 is the address of its item, $4 that of its value.
; Lines that an uninstall passes over are passed over. $2 has the list, $5 is free.
!macro TARVO__EachLine LOG SECTION
  Push `${LOG}`
  Push `${SECTION}`
  ${CallArtificialFunction} TARVO__Section
  Pop $2
  StrCpy $3 $2
  ${Do}
    System::Call `kernel32::lstrlenA(p r3) i .r5`
    ${If} $5 = 0
      ${ExitDo}
    ${EndIf}
    IntOp $5 $5 + $3
    IntOp $5 $5 + 1
    Push $5 ; the next line
    !if "${SECTION}" == "Custom"
      System::Call `shlwapi::StrChrA(p r3, i 61) p .r4`
      StrCpy $5 49
    !else
      StrCpy $5 0
      System::Call `shlwapi::StrRChrA(p r3, p 0, i 61) p .r4`
      ${If} $4 <> 0
        System::Call `*$4(&i1, &i1 .r5)` ; an item's value begins with a 1
      ${EndIf}
    !endif
    ${If} $4 <> 0
    ${AndIf} $5 = 49
      System::Call `*$4(&i1 0)`
      IntOp $4 $4 + 1
!macroend

!macro TARVO__NextLine
    ${EndIf}
    Pop $3
  ${Loop}
  System::Free $2
!macroend

; Takes a log from the stack, pushes 1 if the restart will delete one of its files, else 0.
!macro TARVO__FilesWait
  Exch $0
  Push $1
  Push $2
  Push $3
  Push $4
  Push $5
  StrCpy $1 0
  !insertmacro TARVO__EachLine $0 Files
      System::Call `kernel32::lstrcmpiA(p r3, m "$EXEPATH") i .r4`
      System::Call `kernel32::GetFileAttributesA(p r3) i .r5`
      IntOp $5 $5 & ${FILE_ATTRIBUTE_DIRECTORY} ; all bits are set if there is no such file
      ${If} $4 <> 0
      ${AndIf} $5 = 0
        System::Call `${TARVO_DLL}::TARVO_FindSourceInPFOs(p r3, m .r4, i ${NSIS_MAX_STRLEN}) i .r5 ? c`
        ${If} "$5,$4" == "0," ; a deletion is known by its empty source
          StrCpy $1 1
        ${EndIf}
      ${EndIf}
  !insertmacro TARVO__NextLine
  StrCpy $0 $1
  Pop $5
  Pop $4
  Pop $3
  Pop $2
  Pop $1
  Exch $0
!macroend

; Takes the run's log and the product's from the stack, pushes the result.
!macro TARVO__KeepRun
  Exch $0 ; the run's
  Exch
  Exch $1 ; the product's
  Push $2
  StrCpy $2 0
  ${If} ${FileExists} $0
    Push "" ; no exception
    Push $1
    Push $0
    ${CallArtificialFunction} TARVO__CopyLines
    Pop $2
    ${If} $2 = 0
      ${TARVO_DeleteFileEx} $2 $0 $1
    ${EndIf}
  ${EndIf}
  StrCpy $0 $2
  Pop $2
  Pop $1
  Exch $0
!macroend

; Takes the run's log and the product's from the stack, pushes whether a restart is needed, then the result.
!macro TARVO__UndoRun
  Exch $0 ; the run's
  Exch
  Exch $1 ; the product's
  Push $2
  StrCpy $2 0
  ${If} ${FileExists} $0
  ${AndIf} ${FileExists} $1
    Push $1
    Push "$0.undo"
    Push $0
    ${CallArtificialFunction} TARVO__CopyLines
    Pop $2
    ${If} $2 = 0
      ${TARVO_DeleteFileEx} $2 $0 $1
      StrCpy $0 "$0.undo"
    ${EndIf}
  ${EndIf}
  ${If} $2 = 0
  ${AndIf} ${FileExists} $0
    ${TARVO_Uninstall} $0 $0 $1
  ${Else}
    StrCpy $0 $2
    StrCpy $1 0
  ${EndIf}
  Pop $2
  Exch $1
  Exch
  Exch $0
!macroend

; Takes three logs from the stack: records each line of the first into the second, but for those that the third has.
; Pushes the result.
!macro TARVO__CopyLines
  Exch $0 ; the first
  Exch
  Exch $1 ; the second
  Exch 2
  Exch $6 ; the third, or nothing
  Push $2
  Push $3
  Push $4
  Push $5
  ${TARVO_StartUninstallLogging} $2 $1 ${TARVO_NULL}
  ${If} $2 = 0
    !insertmacro TARVO__CopySection "Files"
    !insertmacro TARVO__CopySection "Shortcuts"
    !insertmacro TARVO__CopySection "Registry entries"
    !insertmacro TARVO__CopySection "Registry entries unvirtualized"
    !insertmacro TARVO__CopySection "Services"
    !insertmacro TARVO__EachLine $0 "Custom"
      System::Call `${TARVO_DLL}::TARVO_SetCustomUnInstallString(p r3, p r4) i .r5 ? c`
    !insertmacro TARVO__NextLine
    ${If} $6 != ""
      ${TARVO_SetCustomUnInstallString} $2 "Undone" "1" ; so that the log is there, whatever is left out
    ${EndIf}
    ${TARVO_StopUninstallLogging} $2
    ${IfNot} ${FileExists} $1 ; recording itself never fails
      StrCpy $2 ${TARVO_ERROR_FAILED}
    ${EndIf}
  ${EndIf}
  StrCpy $0 $2
  Pop $5
  Pop $4
  Pop $3
  Pop $2
  Pop $6
  Exch
  Pop $1
  Exch $0
!macroend

!macro TARVO__CopySection SECTION
  !insertmacro TARVO__EachLine $0 "${SECTION}"
    StrCpy $4 0
    ${If} $6 != ""
      System::Call `shlwapi::StrChrA(p r3, i 61) p .r4`
      ${If} $4 = 0
        System::Call `kernel32::GetPrivateProfileIntA(m "${SECTION}", p r3, i 0, m r6) i .r4`
      ${EndIf}
    ${EndIf}
    ${If} $4 = 0
      System::Call `${TARVO_DLL}::TARVO_AddRollbackEntry(m "${SECTION}", p 0, p r3, i 0) i .r5 ? c`
    !if "${SECTION}" == "Files"
    ${Else}
      !insertmacro TARVO__TakeBack
    !endif
    ${EndIf}
  !insertmacro TARVO__NextLine
!macroend

; Nothing shall take the place of the file whose path $3 points at.
!macro TARVO__TakeBack
  System::Call `${TARVO_DLL}::TARVO_FindSourceInPFOs(p r3, m .r4, i ${NSIS_MAX_STRLEN}) i .r5 ? c`
  ${If} $5 = 0
  ${AndIf} $4 != ""
    System::Call `${TARVO_DLL}::TARVO_RemovePendingFileOperation(p 0, p r3) i .r5 ? c`
    ${TARVO_DeleteFileEx} $5 $4 $5
  ${EndIf}
!macroend

!endif
