; Calling TARVO.DLL from NSIS. The library lies in $PLUGINSDIR; its texts are
; ANSI ("m"), its exports C functions ("? c"). The macros use $0 to $3.

Var report
Var restart

; Unpacks the library and begins the two records of this run: the file that
; LANTERN_LOG names takes the library's trace, LANTERN_REPORT what was done, in
; short. Variables, since a command line with blanks arrives quoted in many ways.
!macro StartTarvo
  InitPluginsDir
  File "/oname=$PLUGINSDIR\TARVO.dll" "${LIBRARY}"
  StrCpy $restart 0
  ReadEnvStr $1 LANTERN_REPORT
  ${If} $1 != ""
    FileOpen $report $1 w
  ${EndIf}
  ReadEnvStr $1 LANTERN_LOG
  ${If} $1 != ""
    System::Call "$PLUGINSDIR\TARVO.dll::TARVO_StartDebugLoggingRunTime(m r1, i 0) ? c"
  ${EndIf}
!macroend

; Unloads the library, so that $PLUGINSDIR can go, and ends with code.
!macro EndTarvo CODE
  System::Call "$PLUGINSDIR\TARVO.dll::TARVO_GetTarvoDllInstance() p .r0 ? c"
  System::Call "kernel32::FreeLibrary(p r0)"
  ${If} $report != ""
    FileClose $report
  ${EndIf}
  SetErrorLevel ${CODE}
  Quit
!macroend

!macro Say TEXT
  DetailPrint "${TEXT}"
  ${If} $report != ""
    FileWrite $report "${TEXT}$\r$\n"
  ${EndIf}
!macroend
!define Say "!insertmacro Say"

; Calls an export that gives a result code. A failure ends the run with 1.
!macro Tarvo NAME PARAMETERS
  System::Call "$PLUGINSDIR\TARVO.dll::${NAME}(${PARAMETERS}) i .r0 ? c"
  ${If} $0 <> 0
    System::Call "$PLUGINSDIR\TARVO.dll::TARVO_GetLastErrorMessage(m .r1, i ${NSIS_MAX_STRLEN}) ? c"
    ${Say} "${NAME} failed with $0: $1"
    !insertmacro EndTarvo 1
  ${EndIf}
!macroend
!define Tarvo "!insertmacro Tarvo"

; Copies a file, over one in use too.
!macro Install SOURCE TARGET
  ${Tarvo} TARVO_CopyFileEx "m '${SOURCE}', m '${TARGET}', i 0, *i .r1"
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
  ${Tarvo} TARVO_DeleteFileEx "m '${TARGET}', *i .r1"
  ${If} $1 = 0
    ${Say} "deleted ${TARGET}"
  ${Else}
    StrCpy $restart 1
    ${Say} "in use, goes at the restart: ${TARGET}"
  ${EndIf}
!macroend
!define Remove "!insertmacro Remove"
