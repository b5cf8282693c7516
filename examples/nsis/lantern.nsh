; What setup and uninstaller of Lantern share. $0 has the result of each call,
; $1 what it hands out.

Var report
Var restart

; Unpacks the library and begins the two records of this run: the file that
; LANTERN_LOG names takes the library's trace, LANTERN_REPORT what was done, in
; short. Variables, since a command line with blanks arrives quoted in many ways.
!macro StartTarvo
  !insertmacro TARVO_Load "${LIBRARY}"
  StrCpy $restart 0
  ReadEnvStr $1 LANTERN_REPORT
  ${If} $1 != ""
    FileOpen $report $1 w
  ${EndIf}
  ReadEnvStr $1 LANTERN_LOG
  ${If} $1 != ""
    ${TARVO_StartDebugLoggingRunTime} $1 0
  ${EndIf}
!macroend

; Unloads the library, so that $PLUGINSDIR can go, and ends with code.
!macro EndTarvo CODE
  !insertmacro TARVO_Unload
  ${If} $report != ""
    FileClose $report
  ${EndIf}
  SetErrorLevel ${CODE}
  Quit
!macroend

!macro Say TEXT
  DetailPrint `${TEXT}`
  ${If} $report != ""
    FileWrite $report `${TEXT}$\r$\n`
  ${EndIf}
!macroend
!define Say "!insertmacro Say"

; Ends the run with 1 if the call before has failed.
!macro Check WHAT
  ${If} $0 <> 0
    ${TARVO_LastError} $1
    ${Say} `${WHAT} failed with $0: $1`
    !insertmacro EndTarvo 1
  ${EndIf}
!macroend
!define Check "!insertmacro Check"

; Copies a file, over one in use too.
!macro Install SOURCE TARGET
  ${TARVO_CopyFileEx} $0 "${SOURCE}" "${TARGET}" 0 $1
  ${Check} "copying ${TARGET}"
  ${If} $1 = 0
    ${Say} "copied ${TARGET}"
  ${Else}
    StrCpy $restart 1
    ${Say} "in use, comes at the restart: ${TARGET}"
  ${EndIf}
!macroend
!define Install "!insertmacro Install"

; Deletes a file, one in use too.
!macro Remove TARGET
  ${TARVO_DeleteFileEx} $0 "${TARGET}" $1
  ${Check} "deleting ${TARGET}"
  ${If} $1 = 0
    ${Say} "deleted ${TARGET}"
  ${Else}
    StrCpy $restart 1
    ${Say} "in use, goes at the restart: ${TARGET}"
  ${EndIf}
!macroend
!define Remove "!insertmacro Remove"

; Sets a registry value, in the view of 32-bit programs.
!macro Set LOCATOR TYPE
  ${TARVO_CreateRegistryEntry} $0 `${LOCATOR}` ${TYPE} 0
  ${Check} `setting ${LOCATOR}`
!macroend
!define Set "!insertmacro Set"
