; A setup and its uninstaller that do their work through TARVO.DLL.
;   ISCC /DVersion=1|2 setup.iss
; Where the parts lie may be given too: /DLibrary=DLL /DBuilt=FOLDER /DProduct=FOLDER /O"FOLDER" /F"NAME"
; Silent: /VERYSILENT /SUPPRESSMSGBOXES /NORESTART /RESTARTEXITCODE=3010. Then the setup ends with 0, or with 3010
; when a restart is needed to finish; Inno Setup's uninstallers end with 0 in both cases. lantern.iss tells how to have
; setup and uninstaller write a log.
#ifndef Version
  #define Version "1"
#endif
#ifndef Library
  #define Library "..\..\TARVO.DLL"
#endif
#ifndef Product
  #define Product "..\product"
#endif
#ifndef Built
  #define Built Product
#endif

[Setup]
AppId=Lantern
AppName=Lantern
AppVersion={#Version}
DefaultDirName={commonpf32}\Harbour\Lantern
DisableProgramGroupPage=yes
PrivilegesRequired=admin
; The library writes the entry in the list of programs, and replaces what is in use.
CreateUninstallRegKey=no
CloseApplications=no

[Dirs]
; Made before Inno Setup's own turn, and removed by it at the end, the last one first.
Name: "{app}\.."; Flags: uninsalwaysuninstall
Name: "{app}"; Flags: uninsalwaysuninstall

[Files]
Source: "{#Library}"; DestName: "TARVO.dll"; Flags: dontcopy
Source: "{#Built}\lantern-{#Version}.exe"; DestName: "lantern.exe"; Flags: dontcopy
Source: "{#Built}\keeper-{#Version}.exe"; DestName: "keeper.exe"; Flags: dontcopy
Source: "{#Built}\wick.dll"; Flags: dontcopy
Source: "{#Product}\words-{#Version}.txt"; DestName: "words.txt"; Flags: dontcopy
; The uninstaller works with this one, which Inno Setup itself installs and removes.
Source: "{#Library}"; DestDir: "{app}"; DestName: "TARVO.dll"; Flags: ignoreversion

[Code]
#include "..\..\include\tarvo.iss"
#include "lantern.iss"

const
  Key = 'HKEY_LOCAL_MACHINE\Software\Harbour\Lantern';
  ProgramsKey = 'HKEY_LOCAL_MACHINE\Software\Microsoft\Windows\CurrentVersion\Uninstall\Lantern';
  Keeper = 'LanternKeeper';
  EventSource = 'Lantern';
  StartMenuGroup = 'Lantern';
  EventTypes = EVENTLOG_ERROR_TYPE or EVENTLOG_WARNING_TYPE or EVENTLOG_INFORMATION_TYPE;
  Minute = 60000;

// What the uninstall log says is done with an administrator's rights: it lies where only administrators write. So
// the product's folder is made before the log, and goes after it.
function UninstallLog: String;
begin
  Result := InApp('uninstall.log');
end;

procedure SetValue(const Locator: AnsiString; ValueType: DWORD);
begin
  Check(TARVO_CreateRegistryEntry(Locator, ValueType, False), 'setting ' + Locator);
end;

procedure WriteSettings;
begin
  SetValue(Key + '\\Version|{#Version}', REG_DWORD);
  SetValue(Key + '\\Folder|' + InApp(''), REG_SZ);
  SetValue(Key + '\Wicks\\Colours|red'#0'green', REG_MULTI_SZ);
  Check(TARVO_CreateRegistryEntryEx(Key + '\\Version|{#Version}', REG_DWORD, False, False),
    'setting the version in the 64-bit view');
  SetValue(ProgramsKey + '\\DisplayName|Lantern {#Version}', REG_SZ);
  SetValue(ProgramsKey + '\\UninstallString|' + ExpandConstant('{uninstallexe}'), REG_SZ);
  Say('settings written in both registry views');
end;

// What others know the product by. A source of the event log is not recorded: the uninstaller deletes it.
procedure Register;
begin
  Check(TARVO_AddShortCut(StartMenuGroup, 'Lantern', '"' + InApp('lantern.exe') + '" stay', InApp('data'),
    SW_SHOWNORMAL), 'making the shortcut');
  Check(TARVO_AddEventSource(EventSource, InApp('lantern.exe'), EventTypes, 0), 'adding the event source');
  Check(TARVO_RegisterKobPlugIn('Lantern', InApp('wick.dll')), 'registering the plug-in');
  Check(TARVO_SetProductVersion('{#Version}', 'Lantern'), 'setting the product''s version');
  Say('shortcut, event source and plug-in registered');
end;

// A service is stopped a moment before its program has ended, and only then can the file be replaced.
procedure StopKeeper;
var
  ExitCode: DWORD;
begin
  Check(TARVO_StopService('', Keeper), 'stopping ' + Keeper);
  Check(TARVO_WaitForServiceState('', Keeper, SERVICE_STOPPED, Minute, ExitCode), 'waiting for the service to stop');
  Sleep(1000);
  Say('service stopped: ' + Keeper);
end;

// A service that is there is changed, its display name included.
procedure StartKeeper;
var
  ExitCode: DWORD;
begin
  Check(TARVO_InstallService('', Keeper, 'Lantern Keeper {#Version}', SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START,
    InApp('keeper.exe'), '', '', '', True), 'installing ' + Keeper);
  Check(TARVO_StartService('', Keeper), 'starting ' + Keeper);
  Check(TARVO_WaitForServiceState('', Keeper, SERVICE_RUNNING, Minute, ExitCode), 'waiting for the service to run');
  Say('service installed and started: ' + Keeper);
end;

procedure InstallProduct;
begin
  Check(TARVO_CreateDirectory(InApp('')), 'making the product''s folder');
  Check(TARVO_StartUninstallLogging(UninstallLog, 'Lantern'), 'beginning the uninstall log');
  Check(TARVO_CreateDirectory(InApp('data')), 'making the folders');
  InstallFile('lantern.exe', 'lantern.exe');
  InstallFile('words.txt', 'data\words.txt');
  Check(TARVO_ResetFileReadOnlyAttribute(InApp('data\words.txt'), FILE_ATTRIBUTE_READONLY), 'protecting words.txt');
#if Version == "2"
  StopKeeper;
#endif
  InstallFile('keeper.exe', 'keeper.exe');
  StartKeeper;
#if Version == "1"
  InstallFile('wick.dll', 'wick.dll');
#else
  RemoveFile(InApp('wick.dll'));
#endif
  WriteSettings;
  Register;
  Check(TARVO_SetCustomUnInstallString('Version', '{#Version}'), 'recording the version');
  Check(TARVO_StopUninstallLogging, 'ending the uninstall log');
end;

// Before Inno Setup installs anything itself, so that a call that fails ends the setup.
procedure CurStepChanged(Step: TSetupStep);
begin
  if Step <> ssInstall then
    Exit;
  StartTarvo;
  try
    InstallProduct;
  finally
    EndTarvo;
  end;
end;

function NeedRestart: Boolean;
begin
  Result := RestartNeeded;
end;

// The folders that were there before the log. What is in use keeps them until the restart.
procedure RemoveFoldersAtRestart;
begin
  Check(TARVO_DeleteAfterReboot(InApp('')), 'deferring the removal of the folder');
  Check(TARVO_DeleteAfterReboot(ExtractFileDir(InApp(''))), 'deferring the removal of the folder above');
  Say('the rest goes at the restart: ' + InApp(''));
end;

procedure UninstallProduct;
var
  InstalledVersion: AnsiString;
begin
  Check(TARVO_OpenRollBackLog(UninstallLog), 'opening the uninstall log');
  SetLength(InstalledVersion, 1024);
  Check(TARVO_GetCustomUnInstallString('Version', InstalledVersion, Length(InstalledVersion)), 'reading the version');
  Say('the log says: version ' + String(TARVO_TextIn(InstalledVersion)));
  Check(TARVO_Uninstall(UninstallLog, RestartNeeded), 'removing what the log lists');
  Check(TARVO_DeleteEventSource(EventSource), 'deleting the event source');
  if RestartNeeded then
    RemoveFoldersAtRestart;
end;

procedure CurUninstallStepChanged(Step: TUninstallStep);
begin
  if Step <> usUninstall then
    Exit;
  StartTarvo;
  try
    UninstallProduct;
  finally
    EndTarvo;
  end;
end;

function UninstallNeedRestart: Boolean;
begin
  Result := RestartNeeded;
end;
