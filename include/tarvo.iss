// Calling TARVO.DLL from Inno Setup: a declaration for each export.
//
//   [Files]
//   Source: "TARVO.DLL"; Flags: dontcopy       the library for the setup itself
//   Source: "TARVO.DLL"; DestDir: "{app}"      and for the uninstaller
//
//   [Code]
//   #include "tarvo.iss"
//
//   procedure CurStepChanged(Step: TSetupStep);
//   var
//     NeedRestart: DWORD;
//   begin
//     if Step <> ssInstall then
//       Exit;
//     TARVO_Load('');
//     if TARVO_CopyFileEx(ExpandConstant('{src}\new.dll'), ExpandConstant('{app}\part.dll'), False, NeedRestart) <> 0 then
//       Log('part.dll: ' + TARVO_LastError);
//     TARVO_Unload;
//   end;
//
// - An empty text is handed over as NULL.
// - A list of texts is one text with zeros between: 'red'#0'green', or TARVO_List(['red', 'green']). What ends a list is
//   added where the library expects one.
// - The names that Windows has for numbers (REG_SZ, SERVICE_AUTO_START, SW_SHOWNORMAL) are defined here or by Inno Setup.
//   They stand without quotes: the compiler takes a text where a number belongs, and at run time the call ends the setup
//   (or its "try") with "Runtime error (at LINE:COLUMN): Type Mismatch."
// - A call that cannot be made, since the library is not there or cannot be loaded, raises an exception too.
// - For a text that is handed out, set the length of a variable first and cut it afterwards:
//     SetLength(Source, 1024);
//     TARVO_FindSourceInPFOs('C:\part.dll', Source, Length(Source));
//     Source := TARVO_TextIn(Source);
// - The library is loaded at the first call of each function: declaring what is not called costs nothing.
// - _TARVO_DelayLoadInitialize@0 is left out: Inno Setup takes no names with that sign, and it does nothing.

// Where the library lies at run time. Another name may be defined before this file is included, such as
// files:TARVO.dll, with which Inno Setup extracts it on its own, but in Setup alone.
#ifndef TarvoLibrary
  #define TarvoLibrary "{tmp}\TARVO.dll"
#endif

const
  TARVO_ERROR_FAILED = $FFFFFFFF;
  TARVO_ERROR_NO_LOG = $FFFFFFFE;
  TARVO_UNINSTALL_REGISTRY = 200;
  TARVO_UNINSTALL_FILES = 201;
  TARVO_UNINSTALL_SERVICES = 202;
  TARVO_UNINSTALL_SHORTCUTS = 203;
  TARVO_UNINSTALL_EVENTS = 204;
  TARVO_UNINSTALL_SHELL_EXTENSION = 205;
  TARVO_ACCESS_READ = $A0000000;
  TARVO_ACCESS_CHANGE = $E0010000;
  TARVO_ACCESS_FULL = $10000000;
  TARVO_RID_EVERYONE = 0;
  TARVO_RID_AUTHENTICATED_USERS = 11;
  TARVO_RID_SYSTEM = 18;
  TARVO_RID_LOCAL_SERVICE = 19;
  TARVO_RID_NETWORK_SERVICE = 20;
  TARVO_RID_ADMINISTRATORS = 544;
  TARVO_RID_USERS = 545;
  TARVO_RID_GUESTS = 546;
  TARVO_RID_POWER_USERS = 547;
  TARVO_POLICY_NONE = 0;
  TARVO_POLICY_OPEN = 1;
  TARVO_POLICY_USERS = 2;
  TARVO_POLICY_LOCKED = 16;
  TARVO_PLATFORM_UNKNOWN = 101;
  TARVO_PLATFORM_WIN95 = 103;
  TARVO_PLATFORM_WIN98 = 104;
  TARVO_PLATFORM_WIN32S = 105;
  TARVO_PLATFORM_NT35 = 106;
  TARVO_PLATFORM_NT351 = 107;
  TARVO_PLATFORM_NT4 = 108;
  TARVO_PLATFORM_NT50 = 109;
  TARVO_PLATFORM_WINME = 110;
  TARVO_PLATFORM_NT51 = 111;
  TARVO_PLATFORM_NT52 = 112;
  TARVO_PLATFORM_NT60_WORKSTATION = 113;
  TARVO_PLATFORM_NT60_SERVER = 114;
  TARVO_PLATFORM_NT61_WORKSTATION = 115;
  TARVO_PLATFORM_NT61_SERVER = 116;
  TARVO_PLATFORM_NT62_WORKSTATION = 117;
  TARVO_PLATFORM_NT62_SERVER = 118;
  TARVO_PLATFORM_NT63_WORKSTATION = 119;
  TARVO_PLATFORM_NT63_SERVER = 120;
  TARVO_ASK_PLATFORM = 150;
  TARVO_ASK_IS_NT = 151;
  TARVO_ASK_IS_WINDOWS_9X = 152;
  TARVO_ASK_IS_SERVER = 153;
  TARVO_ASK_SERVICE_PACK = 156;
  TARVO_REBOOT_NORMAL = 1;
  TARVO_REBOOT_FORCED = 2;
  TARVO_PICKER_CANCELLED = 1;
  TARVO_PICKER_UNAVAILABLE = 2;
  // Numbers by the names that Windows has for them.
  REG_NONE = 0;
  REG_SZ = 1;
  REG_EXPAND_SZ = 2;
  REG_BINARY = 3;
  REG_DWORD = 4;
  REG_MULTI_SZ = 7;
  SE_FILE_OBJECT = 1;
  SE_REGISTRY_KEY = 4;
  SERVICE_KERNEL_DRIVER = $1;
  SERVICE_FILE_SYSTEM_DRIVER = $2;
  SERVICE_WIN32_OWN_PROCESS = $10;
  SERVICE_WIN32_SHARE_PROCESS = $20;
  SERVICE_INTERACTIVE_PROCESS = $100;
  SERVICE_BOOT_START = 0;
  SERVICE_SYSTEM_START = 1;
  SERVICE_AUTO_START = 2;
  SERVICE_DEMAND_START = 3;
  SERVICE_DISABLED = 4;
  SERVICE_NO_CHANGE = $FFFFFFFF;
  SERVICE_STOPPED = 1;
  SERVICE_START_PENDING = 2;
  SERVICE_STOP_PENDING = 3;
  SERVICE_RUNNING = 4;
  SERVICE_CONTINUE_PENDING = 5;
  SERVICE_PAUSE_PENDING = 6;
  SERVICE_PAUSED = 7;
  EVENTLOG_ERROR_TYPE = $1;
  EVENTLOG_WARNING_TYPE = $2;
  EVENTLOG_INFORMATION_TYPE = $4;
  USER_PRIV_USER = 1;
  UF_PASSWD_CANT_CHANGE = $40;
  UF_DONT_EXPIRE_PASSWD = $10000;

// ---- Frame: trace log, result texts, the library itself -------------------------

procedure TARVO_StartDebugLogging;
  external 'TARVO_StartDebugLogging@{#TarvoLibrary} cdecl delayload';
procedure TARVO_StartDebugLogging2;
  external 'TARVO_StartDebugLogging2@{#TarvoLibrary} cdecl delayload';
procedure TARVO_StartDebugLoggingRunTime(Path: AnsiString; Overwrite: DWORD);
  external 'TARVO_StartDebugLoggingRunTime@{#TarvoLibrary} cdecl delayload';
procedure TARVO_GetLastErrorMessage(Buffer: AnsiString; Size: Integer);
  external 'TARVO_GetLastErrorMessage@{#TarvoLibrary} cdecl delayload';
function TARVO_GetString(Code: Integer; Buffer: AnsiString; Size: Integer): DWORD;
  external 'TARVO_GetString@{#TarvoLibrary} cdecl delayload';
function TARVO_SetLanguage: DWORD;
  external 'TARVO_SetLanguage@{#TarvoLibrary} cdecl delayload';
function TARVO_GetTarvoDllInstance: THandle;
  external 'TARVO_GetTarvoDllInstance@{#TarvoLibrary} cdecl delayload';
procedure TARVO_LoadedInSetup;
  external 'TARVO_LoadedInSetup@{#TarvoLibrary} cdecl delayload';

// ---- Files ----------------------------------------------------------------------

function TARVO_CreateDirectory(Path: AnsiString): DWORD;
  external 'TARVO_CreateDirectory@{#TarvoLibrary} cdecl delayload';
function TARVO_ResetFileReadOnlyAttribute(Path: AnsiString; Attributes: DWORD): DWORD;
  external 'TARVO_ResetFileReadOnlyAttribute@{#TarvoLibrary} cdecl delayload';
function TARVO_CopyFile(Source, Destination: AnsiString; FailIfExists: BOOL): DWORD;
  external 'TARVO_CopyFile@{#TarvoLibrary} cdecl delayload';
function TARVO_CopyFileEx(Source, Destination: AnsiString; FailIfExists: BOOL; var NeedRestart: DWORD): DWORD;
  external 'TARVO_CopyFileEx@{#TarvoLibrary} cdecl delayload';
function TARVO_MoveFileEx(Source, Destination: AnsiString; FailIfExists: BOOL; var NeedRestart: DWORD): DWORD;
  external 'TARVO_MoveFileEx@{#TarvoLibrary} cdecl delayload';
function TARVO_DeleteFileEx(Path: AnsiString; var NeedRestart: DWORD): DWORD;
  external 'TARVO_DeleteFileEx@{#TarvoLibrary} cdecl delayload';
function TARVO_DeleteAfterReboot(Path: AnsiString): DWORD;
  external 'TARVO_DeleteAfterReboot@{#TarvoLibrary} cdecl delayload';

// ---- Pending operations: the Session Manager's list -----------------------------

function TARVO_ReceivePFOsInfo: DWORD;
  external 'TARVO_ReceivePFOsInfo@{#TarvoLibrary} cdecl delayload';
function TARVO_UpdatePFOsInfo: DWORD;
  external 'TARVO_UpdatePFOsInfo@{#TarvoLibrary} cdecl delayload';
function TARVO_RenameAfterReboot(Source, Target: AnsiString): DWORD;
  external 'TARVO_RenameAfterReboot@{#TarvoLibrary} cdecl delayload';
function TARVO_RemovePendingFileOperation(Source, Destination: AnsiString): DWORD;
  external 'TARVO_RemovePendingFileOperation@{#TarvoLibrary} cdecl delayload';
function TARVO_FindSourceInPFOs(Destination, Source: AnsiString; Size: DWORD): DWORD;
  external 'TARVO_FindSourceInPFOs@{#TarvoLibrary} cdecl delayload';
procedure TARVO_SetPFOsImmediateFlush(Flag: DWORD);
  external 'TARVO_SetPFOsImmediateFlush@{#TarvoLibrary} cdecl delayload';

// ---- Registry -------------------------------------------------------------------

function TARVO__CreateRegistryEntry(Locator: AnsiString; EntryType: DWORD; Flush: BOOL): DWORD;
  external 'TARVO_CreateRegistryEntry@{#TarvoLibrary} cdecl delayload';
function TARVO_CreateRegistryEntry(Locator: AnsiString; EntryType: DWORD; Flush: BOOL): DWORD;
begin
  Result := TARVO__CreateRegistryEntry(Locator + #0, EntryType, Flush);
end;
function TARVO__CreateRegistryEntryEx(Locator: AnsiString; EntryType: DWORD; Flush, Virtualized: BOOL): DWORD;
  external 'TARVO_CreateRegistryEntryEx@{#TarvoLibrary} cdecl delayload';
function TARVO_CreateRegistryEntryEx(Locator: AnsiString; EntryType: DWORD; Flush, Virtualized: BOOL): DWORD;
begin
  Result := TARVO__CreateRegistryEntryEx(Locator + #0, EntryType, Flush, Virtualized);
end;
function TARVO_SetProductVersion(Version, Product: AnsiString): DWORD;
  external 'TARVO_SetProductVersion@{#TarvoLibrary} cdecl delayload';
function TARVO_RegisterDelayLoadLibrary(Path: AnsiString): DWORD;
  external 'TARVO_RegisterDelayLoadLibrary@{#TarvoLibrary} cdecl delayload';
function TARVO_UnRegisterDelayLoadLibrary(Path: AnsiString): DWORD;
  external 'TARVO_UnRegisterDelayLoadLibrary@{#TarvoLibrary} cdecl delayload';
function TARVO_RegisterLocalizationResource(Directory, BaseName: AnsiString): DWORD;
  external 'TARVO_RegisterLocalizationResource@{#TarvoLibrary} cdecl delayload';
function TARVO_AddEventSource(Source, MessageFile: AnsiString; Types, Categories: DWORD): DWORD;
  external 'TARVO_AddEventSource@{#TarvoLibrary} cdecl delayload';
function TARVO_DeleteEventSource(Source: AnsiString): DWORD;
  external 'TARVO_DeleteEventSource@{#TarvoLibrary} cdecl delayload';

// ---- Uninstall log: recording ---------------------------------------------------

function TARVO_StartUninstallLogging(FileName, PlugIn: AnsiString): DWORD;
  external 'TARVO_StartUninstallLogging@{#TarvoLibrary} cdecl delayload';
function TARVO_StopUninstallLogging: DWORD;
  external 'TARVO_StopUninstallLogging@{#TarvoLibrary} cdecl delayload';
function TARVO_AddRollbackEntry(Section, Entry, Value: AnsiString; Single: BOOL): DWORD;
  external 'TARVO_AddRollbackEntry@{#TarvoLibrary} cdecl delayload';
function TARVO_AddFileToUninstallLog(Path: AnsiString): DWORD;
  external 'TARVO_AddFileToUninstallLog@{#TarvoLibrary} cdecl delayload';
function TARVO_SetCustomUnInstallString(Name, Value: AnsiString): DWORD;
  external 'TARVO_SetCustomUnInstallString@{#TarvoLibrary} cdecl delayload';

// ---- Uninstall log: replaying ---------------------------------------------------

function TARVO_OpenRollBackLog(FileName: AnsiString): DWORD;
  external 'TARVO_OpenRollBackLog@{#TarvoLibrary} cdecl delayload';
function TARVO_CloseRollBackLog: DWORD;
  external 'TARVO_CloseRollBackLog@{#TarvoLibrary} cdecl delayload';
function TARVO_PerformUnInstall(Operation: DWORD): DWORD;
  external 'TARVO_PerformUnInstall@{#TarvoLibrary} cdecl delayload';
function TARVO_GetCustomUnInstallString(Name, Buffer: AnsiString; Size: DWORD): DWORD;
  external 'TARVO_GetCustomUnInstallString@{#TarvoLibrary} cdecl delayload';

// ---- Services -------------------------------------------------------------------

function TARVO__InstallService(Machine, Service, DisplayName: AnsiString; ServiceType, StartType: DWORD;
  BinaryPath, Dependencies, Account, Password: AnsiString; ChangeExisting: BOOL): DWORD;
  external 'TARVO_InstallService@{#TarvoLibrary} cdecl delayload';
function TARVO_InstallService(Machine, Service, DisplayName: AnsiString; ServiceType, StartType: DWORD;
  BinaryPath, Dependencies, Account, Password: AnsiString; ChangeExisting: BOOL): DWORD;
begin
  Result := TARVO__InstallService(Machine, Service, DisplayName, ServiceType, StartType, BinaryPath,
    Dependencies + #0, Account, Password, ChangeExisting);
end;
function TARVO_ChangeServiceConfig(Machine, Service: AnsiString; StartType, ServiceType: DWORD;
  BinaryPath, Account, Password, DisplayName: AnsiString): DWORD;
  external 'TARVO_ChangeServiceConfig@{#TarvoLibrary} cdecl delayload';
function TARVO_ChangeServiceConfig2(Machine, Service: AnsiString; Level, Information: DWORD): DWORD;
  external 'TARVO_ChangeServiceConfig2@{#TarvoLibrary} cdecl delayload';
function TARVO_GetServiceConfig(Machine, Service: AnsiString; var StartType, Interactive: DWORD;
  BinaryPath, Account, DisplayName: AnsiString): DWORD;
  external 'TARVO_GetServiceConfig@{#TarvoLibrary} cdecl delayload';
function TARVO_IsServiceInstalled(Machine, Service: AnsiString; var Installed: DWORD): DWORD;
  external 'TARVO_IsServiceInstalled@{#TarvoLibrary} cdecl delayload';
function TARVO_RemoveService(Machine, Service: AnsiString): DWORD;
  external 'TARVO_RemoveService@{#TarvoLibrary} cdecl delayload';
function TARVO_StartService(Machine, Service: AnsiString): DWORD;
  external 'TARVO_StartService@{#TarvoLibrary} cdecl delayload';
function TARVO_StopService(Machine, Service: AnsiString): DWORD;
  external 'TARVO_StopService@{#TarvoLibrary} cdecl delayload';
function TARVO_SendUserControl(Machine, Service: AnsiString; Control: DWORD): DWORD;
  external 'TARVO_SendUserControl@{#TarvoLibrary} cdecl delayload';
function TARVO_GetServiceStatus(Machine, Service: AnsiString; var Interactive, State: DWORD): DWORD;
  external 'TARVO_GetServiceStatus@{#TarvoLibrary} cdecl delayload';
function TARVO_WaitForServiceState(Machine, Service: AnsiString; State, Timeout: DWORD;
  var ExitCode: DWORD): DWORD;
  external 'TARVO_WaitForServiceState@{#TarvoLibrary} cdecl delayload';
function TARVO_HaveChangeConfigRights(Machine, Service: AnsiString; var HaveRights: DWORD): DWORD;
  external 'TARVO_HaveChangeConfigRights@{#TarvoLibrary} cdecl delayload';
function TARVO_HaveStartStopRights(Machine, Service: AnsiString; var HaveRights: DWORD): DWORD;
  external 'TARVO_HaveStartStopRights@{#TarvoLibrary} cdecl delayload';
function TARVO_HaveInstallServiceRights(Machine: AnsiString; var HaveRights: DWORD): DWORD;
  external 'TARVO_HaveInstallServiceRights@{#TarvoLibrary} cdecl delayload';
function TARVO_EnableServiceInHWProfile(Machine, Service, HardwareProfile, ControlSet: AnsiString): DWORD;
  external 'TARVO_EnableServiceInHWProfile@{#TarvoLibrary} cdecl delayload';

// ---- Security: grants on files and registry keys --------------------------------

function TARVO_SetObjectSecurity(ObjectType: DWORD; Name, Account: AnsiString; Mask: DWORD;
  Replace, Recursive: BOOL): DWORD;
  external 'TARVO_SetObjectSecurity@{#TarvoLibrary} cdecl delayload';
function TARVO_SetObjectSecurityRid(ObjectType: DWORD; Name: AnsiString; Rid: DWORD; Domain: AnsiString;
  Mask: DWORD; Replace, Recursive: BOOL): DWORD;
  external 'TARVO_SetObjectSecurityRid@{#TarvoLibrary} cdecl delayload';
function TARVO_SetFileSecurity(Path, Account: AnsiString; Mask: DWORD; Replace, Recursive: BOOL): DWORD;
  external 'TARVO_SetFileSecurity@{#TarvoLibrary} cdecl delayload';
function TARVO_SetFileSecurityRid(Path: AnsiString; Rid: DWORD; Domain: AnsiString; Mask: DWORD;
  Replace, Recursive: BOOL): DWORD;
  external 'TARVO_SetFileSecurityRid@{#TarvoLibrary} cdecl delayload';
function TARVO_SetRegistrySecurity(KeyPath, Account: AnsiString; Mask: DWORD; Replace, Recursive: BOOL): DWORD;
  external 'TARVO_SetRegistrySecurity@{#TarvoLibrary} cdecl delayload';
function TARVO_SetRegistrySecurityRid(KeyPath: AnsiString; Rid: DWORD; Domain: AnsiString; Mask: DWORD;
  Replace, Recursive: BOOL): DWORD;
  external 'TARVO_SetRegistrySecurityRid@{#TarvoLibrary} cdecl delayload';

// ---- Security: policies ---------------------------------------------------------

function TARVO_DefineSecurityPolicy(Policy: DWORD): DWORD;
  external 'TARVO_DefineSecurityPolicy@{#TarvoLibrary} cdecl delayload';
function TARVO_GetSecurityPolicy: DWORD;
  external 'TARVO_GetSecurityPolicy@{#TarvoLibrary} cdecl delayload';
function TARVO_ApplyFileSecurityPolicy(Path: AnsiString; Recursive: BOOL): DWORD;
  external 'TARVO_ApplyFileSecurityPolicy@{#TarvoLibrary} cdecl delayload';
function TARVO_ApplyRegistrySecurityPolicy(KeyPath: AnsiString; Recursive: BOOL): DWORD;
  external 'TARVO_ApplyRegistrySecurityPolicy@{#TarvoLibrary} cdecl delayload';

// ---- Accounts, groups and shares ------------------------------------------------

function TARVO_CreateAccount(Domain, User, Password: AnsiString; Privilege, AccountType: DWORD): DWORD;
  external 'TARVO_CreateAccount@{#TarvoLibrary} cdecl delayload';
function TARVO_DeleteAccount(Domain, User: AnsiString): DWORD;
  external 'TARVO_DeleteAccount@{#TarvoLibrary} cdecl delayload';
function TARVO_CreateLocalGroup(Machine, Group, Comment: AnsiString): DWORD;
  external 'TARVO_CreateLocalGroup@{#TarvoLibrary} cdecl delayload';
function TARVO_DeleteLocalGroup(Machine, Group: AnsiString): DWORD;
  external 'TARVO_DeleteLocalGroup@{#TarvoLibrary} cdecl delayload';
function TARVO_AddUserToLocalGroup(Account, Machine, Group: AnsiString): DWORD;
  external 'TARVO_AddUserToLocalGroup@{#TarvoLibrary} cdecl delayload';
function TARVO_CreateSharedFolder(Machine, Path, Share, Comment: AnsiString): DWORD;
  external 'TARVO_CreateSharedFolder@{#TarvoLibrary} cdecl delayload';
function TARVO_DlgCreateAccount: DWORD;
  external 'TARVO_DlgCreateAccount@{#TarvoLibrary} cdecl delayload';
function TARVO_DeleteShare: DWORD;
  external 'TARVO_DeleteShare@{#TarvoLibrary} cdecl delayload';
function TARVO_DlgCreateSharedFolder: DWORD;
  external 'TARVO_DlgCreateSharedFolder@{#TarvoLibrary} cdecl delayload';
function TARVO_SetPermissions: DWORD;
  external 'TARVO_SetPermissions@{#TarvoLibrary} cdecl delayload';
function TARVO_DlgSetPermissions: DWORD;
  external 'TARVO_DlgSetPermissions@{#TarvoLibrary} cdecl delayload';

// ---- Platform -------------------------------------------------------------------

function TARVO_GetPlatform: DWORD;
  external 'TARVO_GetPlatform@{#TarvoLibrary} cdecl delayload';
function TARVO_GetPlatformEx(Item: DWORD; var BoolBuffer: BOOL; var IntegerBuffer: DWORD): DWORD;
  external 'TARVO_GetPlatformEx@{#TarvoLibrary} cdecl delayload';
function TARVO_Is64BitPlatform: BOOL;
  external 'TARVO_Is64BitPlatform@{#TarvoLibrary} cdecl delayload';
function TARVO_GetAmountOfRAM: DWORD;
  external 'TARVO_GetAmountOfRAM@{#TarvoLibrary} cdecl delayload';

// ---- Process, module and text utilities -----------------------------------------

function TARVO_ShellExecute(CommandLine: AnsiString): DWORD;
  external 'TARVO_ShellExecute@{#TarvoLibrary} cdecl delayload';
function TARVO_DllFunctionExist(Library, FunctionName: AnsiString): BOOL;
  external 'TARVO_DllFunctionExist@{#TarvoLibrary} cdecl delayload';
function TARVO_ReadIniFileSection(FileName, Section, Buffer: AnsiString; var Size: DWORD): DWORD;
  external 'TARVO_ReadIniFileSection@{#TarvoLibrary} cdecl delayload';
function TARVO_MultiByteToUtf8(Source: AnsiString; CodePage: DWORD; Destination: AnsiString;
  var Size: Integer): DWORD;
  external 'TARVO_MultiByteToUtf8@{#TarvoLibrary} cdecl delayload';
function TARVO_Utf8ToMultiByte(Source, Destination: AnsiString; CodePage: DWORD; var Size: Integer): DWORD;
  external 'TARVO_Utf8ToMultiByte@{#TarvoLibrary} cdecl delayload';

// ---- Shortcuts ------------------------------------------------------------------

function TARVO_AddShortCut(Group, Description, FileName, StartIn: AnsiString; RunState: DWORD): DWORD;
  external 'TARVO_AddShortCut@{#TarvoLibrary} cdecl delayload';
function TARVO_RemoveShortCut(Group, Description: AnsiString): DWORD;
  external 'TARVO_RemoveShortCut@{#TarvoLibrary} cdecl delayload';

// ---- Please-wait window and restart ---------------------------------------------

function TARVO_ShowProgressDialog(Parent: HWND; Caption, Message: AnsiString): DWORD;
  external 'TARVO_ShowProgressDialog@{#TarvoLibrary} cdecl delayload';
function TARVO_HideProgressDialog: DWORD;
  external 'TARVO_HideProgressDialog@{#TarvoLibrary} cdecl delayload';
function TARVO_Reboot(Mode: Integer): DWORD;
  external 'TARVO_Reboot@{#TarvoLibrary} cdecl delayload';

// ---- Account and folder pickers -------------------------------------------------

function TARVO_DlgSelectUser(Owner: HWND; User: AnsiString; UserSize: DWORD; Domain: AnsiString;
  DomainSize: DWORD): DWORD;
  external 'TARVO_DlgSelectUser@{#TarvoLibrary} cdecl delayload';
function TARVO_DlgSelectSharedFolderEx(Owner: HWND; Title, Instructions: AnsiString;
  EditBoxEnable, NewDialogStyle, MyComputerOnly: BOOL; Folder: AnsiString): DWORD;
  external 'TARVO_DlgSelectSharedFolderEx@{#TarvoLibrary} cdecl delayload';
function TARVO_DlgSelectSharedFolder(Owner: HWND; Folder: AnsiString; var Size: DWORD): DWORD;
  external 'TARVO_DlgSelectSharedFolder@{#TarvoLibrary} cdecl delayload';

// ---- Product components ---------------------------------------------------------

function TARVO_StartKOB: DWORD;
  external 'TARVO_StartKOB@{#TarvoLibrary} cdecl delayload';
function TARVO_StopKOB: DWORD;
  external 'TARVO_StopKOB@{#TarvoLibrary} cdecl delayload';
function TARVO_StartKOBA: DWORD;
  external 'TARVO_StartKOBA@{#TarvoLibrary} cdecl delayload';
function TARVO_StopKOBA: DWORD;
  external 'TARVO_StopKOBA@{#TarvoLibrary} cdecl delayload';
function TARVO_InstallDefaultPolicyFile(Source, Directory: AnsiString): DWORD;
  external 'TARVO_InstallDefaultPolicyFile@{#TarvoLibrary} cdecl delayload';

// ---- Management plug-ins --------------------------------------------------------

function TARVO_RegisterKobPlugIn(Name, Path: AnsiString): DWORD;
  external 'TARVO_RegisterKobPlugIn@{#TarvoLibrary} cdecl delayload';
function TARVO__RegisterKobaPlugInEx(Reserved, PlugInType, StartMode, ErrorControl: DWORD;
  Name, Oid, Path, Dependencies: AnsiString; RestartAttempts, RestartInterval, WaitingInterval: DWORD): DWORD;
  external 'TARVO_RegisterKobaPlugInEx@{#TarvoLibrary} cdecl delayload';
function TARVO_RegisterKobaPlugInEx(Reserved, PlugInType, StartMode, ErrorControl: DWORD;
  Name, Oid, Path, Dependencies: AnsiString; RestartAttempts, RestartInterval, WaitingInterval: DWORD): DWORD;
begin
  Result := TARVO__RegisterKobaPlugInEx(Reserved, PlugInType, StartMode, ErrorControl, Name, Oid, Path,
    Dependencies + #0, RestartAttempts, RestartInterval, WaitingInterval);
end;
function TARVO__RegisterKobaPlugIn(Reserved, PlugInType, StartMode, ErrorControl: DWORD;
  Name, Oid, Path, Dependencies: AnsiString): DWORD;
  external 'TARVO_RegisterKobaPlugIn@{#TarvoLibrary} cdecl delayload';
function TARVO_RegisterKobaPlugIn(Reserved, PlugInType, StartMode, ErrorControl: DWORD;
  Name, Oid, Path, Dependencies: AnsiString): DWORD;
begin
  Result := TARVO__RegisterKobaPlugIn(Reserved, PlugInType, StartMode, ErrorControl, Name, Oid, Path,
    Dependencies + #0);
end;
function TARVO_RegisterKobaPlugInProperty(Name, PropertyName: AnsiString; ValueType: DWORD; Data: AnsiString;
  Size: DWORD): DWORD;
  external 'TARVO_RegisterKobaPlugInProperty@{#TarvoLibrary} cdecl delayload';

// ---- Helpers -----------------------------------------------------------------------

// Puts the library where it is called: in Setup out of the setup's own files, in the uninstaller from where it
// was installed, so that the file there can be deleted.
procedure TARVO_Load(const Installed: String);
begin
  if not IsUninstaller then
    ExtractTemporaryFile('TARVO.dll')
  else if not FileCopy(Installed, ExpandConstant('{tmp}\TARVO.dll'), False) then
    RaiseException('Cannot copy ' + Installed);
end;

// Lets go of the library. What has not been written to the list of pending operations is lost, as always at its end.
procedure TARVO_Unload;
begin
  UnloadDLL(ExpandConstant('{tmp}\TARVO.dll'));
end;

// The text that a call has put into Buffer.
function TARVO_TextIn(const Buffer: AnsiString): AnsiString;
begin
  Result := Copy(Buffer, 1, Pos(#0, Buffer + #0) - 1);
end;

// The text of the most recent failure, without the line break that some end in.
function TARVO_LastError: String;
var
  Message: AnsiString;
begin
  SetLength(Message, 1024);
  TARVO_GetLastErrorMessage(Message, Length(Message));
  Result := TrimRight(String(TARVO_TextIn(Message)));
end;

// A list of texts, such as the services that another one depends on.
function TARVO_List(const Texts: TArrayOfString): AnsiString;
var
  Index: Integer;
begin
  Result := '';
  for Index := 0 to GetArrayLength(Texts) - 1 do
    Result := Result + AnsiString(Texts[Index]) + #0;
end;

// ---- Ready-made: uninstalling, and one run of a setup ------------------------------

// The lines of a section of an uninstall log; the caller frees them.
function TARVO__Section(const LogFile, Section: String): TStringList;
var
  Buffer: AnsiString;
  Lines: String;
  Size: DWORD;
begin
  Result := TStringList.Create;
  Size := 0;
  TARVO_ReadIniFileSection(LogFile, Section, '', Size);
  SetLength(Buffer, Size);
  if TARVO_ReadIniFileSection(LogFile, Section, Buffer, Size) <> 0 then
    Exit;
  Lines := String(Buffer);
  Lines := Copy(Lines, 1, Pos(#0#0, Lines) - 1);
  StringChangeEx(Lines, #0, #13#10, False);
  Result.Text := Lines;
end;

// What stands in front of a line's last equals sign; nothing for a line that an uninstall passes over.
function TARVO__ItemOf(const Line: String): String;
var
  Last: Integer;
begin
  Result := '';
  Last := Length(Line);
  while (Last > 0) and (Line[Last] <> '=') do
    Last := Last - 1;
  if Copy(Line, Last, 2) = '=1' then
    Result := Copy(Line, 1, Last - 1);
end;

// Whether the restart will delete one of the files that a log lists; the running program does not count.
function TARVO__FilesWait(const LogFile: String): Boolean;
var
  Lines: TStringList;
  Index: Integer;
  Item, Own: String;
  Coming: AnsiString;
begin
  Result := False;
  if IsUninstaller then
    Own := ExpandConstant('{uninstallexe}')
  else
    Own := ExpandConstant('{srcexe}');
  SetLength(Coming, 1024);
  Lines := TARVO__Section(LogFile, 'Files');
  try
    for Index := 0 to Lines.Count - 1 do begin
      Item := TARVO__ItemOf(Lines[Index]);
      // A deletion is known by its empty source.
      if FileExists(Item) and (CompareText(Item, Own) <> 0)
        and (TARVO_FindSourceInPFOs(Item, Coming, Length(Coming)) = 0) and (TARVO_TextIn(Coming) = '') then
        Result := True;
    end;
  finally
    Lines.Free;
  end;
end;

// Removes all that an uninstall log lists, then the log. Returns 0, or the code of the step that failed: the log then
// stays. NeedRestart tells whether a recorded file goes at the next restart; folders that are not empty do not count.
function TARVO_Uninstall(const LogFile: String; var NeedRestart: Boolean): DWORD;
var
  Deferred: DWORD;
begin
  NeedRestart := False;
  Result := TARVO_OpenRollBackLog(LogFile);
  if Result <> 0 then
    Exit;
  Result := TARVO_PerformUnInstall(TARVO_UNINSTALL_SERVICES); // what runs holds its file
  if Result = 0 then
    Result := TARVO_PerformUnInstall(TARVO_UNINSTALL_REGISTRY);
  if Result = 0 then
    Result := TARVO_PerformUnInstall(TARVO_UNINSTALL_FILES);
  if Result = 0 then
    Result := TARVO_PerformUnInstall(TARVO_UNINSTALL_SHORTCUTS);
  TARVO_CloseRollBackLog;
  if Result <> 0 then
    Exit;
  NeedRestart := TARVO__FilesWait(LogFile);
  Result := TARVO_DeleteFileEx(LogFile, Deferred);
end;

// Nothing shall take the place of a file at the restart.
procedure TARVO__TakeBack(const Path: String);
var
  Coming: AnsiString;
  Deferred: DWORD;
begin
  SetLength(Coming, 1024);
  if (TARVO_FindSourceInPFOs(Path, Coming, Length(Coming)) <> 0) or (TARVO_TextIn(Coming) = '') then
    Exit;
  TARVO_RemovePendingFileOperation('', Path);
  TARVO_DeleteFileEx(TARVO_TextIn(Coming), Deferred);
end;

// Records each line of a section of a log, but for those that another log has.
procedure TARVO__CopySection(const LogFile, Section, KnownTo: String);
var
  Lines: TStringList;
  Index: Integer;
  Item: String;
begin
  Lines := TARVO__Section(LogFile, Section);
  try
    for Index := 0 to Lines.Count - 1 do begin
      Item := TARVO__ItemOf(Lines[Index]);
      if Item = '' then
        Continue;
      if (KnownTo = '') or ((Pos('=', Item) = 0) and (GetIniInt(Section, Item, 0, 0, 0, KnownTo) = 0)) then
        TARVO_AddRollbackEntry(Section, '', Item, False)
      else if Section = 'Files' then
        TARVO__TakeBack(Item);
    end;
  finally
    Lines.Free;
  end;
end;

procedure TARVO__CopyCustom(const LogFile: String);
var
  Lines: TStringList;
  Index, Equals: Integer;
begin
  Lines := TARVO__Section(LogFile, 'Custom');
  try
    for Index := 0 to Lines.Count - 1 do begin
      Equals := Pos('=', Lines[Index]);
      if Equals > 0 then
        TARVO_SetCustomUnInstallString(Copy(Lines[Index], 1, Equals - 1),
          Copy(Lines[Index], Equals + 1, Length(Lines[Index])));
    end;
  finally
    Lines.Free;
  end;
end;

// Records all lines of a log into another one, but for those that a third has.
function TARVO__CopyLines(const LogFile, Into, KnownTo: String): DWORD;
begin
  Result := TARVO_StartUninstallLogging(Into, '');
  if Result <> 0 then
    Exit;
  TARVO__CopySection(LogFile, 'Files', KnownTo);
  TARVO__CopySection(LogFile, 'Shortcuts', KnownTo);
  TARVO__CopySection(LogFile, 'Registry entries', KnownTo);
  TARVO__CopySection(LogFile, 'Registry entries unvirtualized', KnownTo);
  TARVO__CopySection(LogFile, 'Services', KnownTo);
  TARVO__CopyCustom(LogFile);
  if KnownTo <> '' then
    TARVO_SetCustomUnInstallString('Undone', '1'); // so that the log is there, whatever is left out
  Result := TARVO_StopUninstallLogging;
  if not FileExists(Into) then // recording itself never fails
    Result := TARVO_ERROR_FAILED;
end;

// Adds to LogFile what this run of the setup has recorded into a log of its own, RunLog, and deletes that. A run that has
// recorded nothing has no log.
function TARVO_KeepRun(const RunLog, LogFile: String): DWORD;
var
  Deferred: DWORD;
begin
  Result := 0;
  if not FileExists(RunLog) then
    Exit;
  Result := TARVO__CopyLines(RunLog, LogFile, '');
  if Result = 0 then
    Result := TARVO_DeleteFileEx(RunLog, Deferred);
end;

// Removes what this run of the setup has recorded into RunLog, but for what LogFile lists as well: that was there
// before. What the next restart was to put in place of such a file is taken back. LogFile, which need not exist, stays
// as it is. Where there is one, items of this run with an equals sign stay: an INI file cannot be asked for them.
// Result and NeedRestart are those of TARVO_Uninstall.
function TARVO_UndoRun(const RunLog, LogFile: String; var NeedRestart: Boolean): DWORD;
var
  Deferred: DWORD;
begin
  NeedRestart := False;
  Result := 0;
  if not FileExists(RunLog) then
    Exit;
  if not FileExists(LogFile) then begin
    Result := TARVO_Uninstall(RunLog, NeedRestart);
    Exit;
  end;
  Result := TARVO__CopyLines(RunLog, RunLog + '.undo', LogFile);
  if Result = 0 then
    Result := TARVO_DeleteFileEx(RunLog, Deferred);
  if Result = 0 then
    Result := TARVO_Uninstall(RunLog + '.undo', NeedRestart);
end;
