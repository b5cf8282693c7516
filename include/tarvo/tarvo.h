/**
 * @file
 * TARVO.DLL 10.0.176: the dangerous part of a setup's work, as flat calls.
 *
 * Conventions
 * - All texts are ANSI, in the process's code page: the system's, or UTF-8 where the program's manifest says so. Sizes
 *   are bytes, terminators included, unless said otherwise.
 * - The caller owns every buffer; no pointer is kept beyond a call. One thread calls at a time.
 * - Most exports return a Win32 code, 0 for success. After a failure TARVO_GetLastErrorMessage hands out its text.
 *   A required pointer that is NULL gives ERROR_INVALID_PARAMETER (87) before any work; a lack of memory gives
 *   ERROR_NOT_ENOUGH_MEMORY (8). The contracts below name the codes beyond these.
 * - "Recorded" means: written into the uninstall log, if TARVO_StartUninstallLogging has named one. Recording never
 *   fails the call that records.
 * - "Deferred" means: put on the Session Manager's list of renames and deletions (PendingFileRenameOperations),
 *   which the next restart carries out: on one volume alone, and not on network paths. On a 64-bit Windows a path
 *   below System32 is put there as the one that it means now, below SysWOW64.
 * - Where a path is taken for a file, more than 259 characters give ERROR_FILENAME_EXCED_RANGE (206); where one comes
 *   into being, a name that no file can have gives ERROR_INVALID_NAME (123), and none ERROR_INVALID_PARAMETER.
 */
#ifndef TARVO_TARVO_H
#define TARVO_TARVO_H

#include <sal.h>
#include <windows.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup codes Result codes of the library's own
 * @{
 */

/** The shell, an outside program or a dialog failed, or there was no memory for an account function. */
#define TARVO_ERROR_FAILED 0xFFFFFFFFUL

/** The uninstall log is not open, or recording is off. */
#define TARVO_ERROR_NO_LOG 0xFFFFFFFEUL

/** @} */

/**
 * @defgroup frame Frame: trace log, result texts, the library itself
 * @{
 */

/**
 * Starts the trace log TARVO.log in the Windows directory, once per load, unless TARVO_LoadedInSetup was called.
 * A log above 10 MiB is deleted first; otherwise lines are added to it. A file TARVO.cfg beside the host program
 * selects columns, lines and the output.
 */
void __cdecl TARVO_StartDebugLogging(void);

/** As TARVO_StartDebugLogging, also in a declared setup. */
void __cdecl TARVO_StartDebugLogging2(void);

/**
 * Starts or switches the trace log, at any time.
 * @param path       The log file, or a folder (ending in a backslash) for tarvo.log in it; missing folders are made.
 *                   NULL or "": Velmora\Logs\Setup\tarvo.log in the common application data folder.
 * @param overwrite  Non-zero empties an existing file; 0 adds to it.
 * A path of more than 259 characters, as a file that cannot be opened, leaves no log open.
 */
void __cdecl TARVO_StartDebugLoggingRunTime(_In_opt_z_ const char* path, DWORD overwrite);

/**
 * Hands out the text of the most recent failure of any export; "" before the first. Those of services end in a line
 * break.
 * @param buffer  Receives at most size - 1 characters, always terminated. NULL or no size: nothing is written.
 */
void __cdecl TARVO_GetLastErrorMessage(_Out_writes_z_(size) char* buffer, int size);

/**
 * Formats a placeholder for a numbered text; there is no table of texts.
 * @param buffer  Receives the text, cut to size - 1 characters and terminated.
 * @return 0
 */
DWORD __cdecl TARVO_GetString(int code, _Out_writes_z_(size) char* buffer, int size);

/** Selecting a language is not supported. @return ERROR_INVALID_FUNCTION (1) */
DWORD __cdecl TARVO_SetLanguage(void);

/** @return the module handle of the library. */
HINSTANCE __cdecl TARVO_GetTarvoDllInstance(void);

/** Declares the host program a setup: TARVO_StartDebugLogging then does nothing. */
void __cdecl TARVO_LoadedInSetup(void);

/** Does nothing; a fixed point for delay-loading clients. Exported as _TARVO_DelayLoadInitialize@0. */
void __stdcall TARVO_DelayLoadInitialize(void);

/** @} */

/**
 * @defgroup files Files
 * @{
 */

/**
 * Creates a directory and every missing one above it (CreateDirectory); each created level is recorded and freed of
 * deferred operations.
 * @param path  Drive, colon, backslash and the rest; forward slashes separate too.
 * @return 0, also if it exists; ERROR_INVALID_PARAMETER, NULL, a UNC path or not rooted at a drive;
 *         ERROR_FILE_EXISTS, a file has that name; or CreateDirectory's code, levels made so far stay.
 */
DWORD __cdecl TARVO_CreateDirectory(_In_z_ const char* path);

/**
 * Makes a file writable, or sets its attributes (SetFileAttributes).
 * @param attributes  0 clears read-only alone; anything else becomes the whole attribute set.
 * @return 0; ERROR_FILE_NOT_FOUND; or the code of reading or setting the attributes.
 */
DWORD __cdecl TARVO_ResetFileReadOnlyAttribute(_In_z_ const char* path, DWORD attributes);

/**
 * Copies a file at once (CopyFile); a read-only destination is made writable first. The destination is recorded and
 * freed of deferred operations, copies made for them included.
 * @return 0; ERROR_FILE_EXISTS with failIfExists; or CopyFile's code. Nothing is deferred.
 */
DWORD __cdecl TARVO_CopyFile(_In_z_ const char* source, _In_z_ const char* destination, BOOL failIfExists);

/**
 * Copies a file, over a locked one too: then the source goes to a free name beside the destination (name.1 to
 * name.998; a source in the same folder stays where it is) and its move onto the destination is deferred. A copy that
 * cannot be deferred goes again. The destination is recorded.
 * @param needRestart  Receives 1 if deferred, else 0; may be NULL.
 * @return 0; ERROR_FILE_EXISTS with failIfExists; ERROR_FILENAME_EXCED_RANGE, no room for such a name; the code of
 *         reading the source's attributes, of the copy beside the destination, or of TARVO_RenameAfterReboot.
 */
DWORD __cdecl TARVO_CopyFileEx(_In_z_ const char* source, _In_z_ const char* destination, BOOL failIfExists,
                               _Out_opt_ DWORD* needRestart);

/**
 * Moves a file (MoveFile), replacing the destination; where that fails now, the move is deferred, which works on one
 * volume alone. A destination that is the source by another name is not deleted. The destination is recorded.
 * @param needRestart  Receives 1 if deferred, else 0; may be NULL.
 * @return 0; ERROR_FILE_EXISTS with failIfExists; the code of reading the source's attributes or of
 *         TARVO_RenameAfterReboot.
 */
DWORD __cdecl TARVO_MoveFileEx(_In_z_ const char* source, _In_z_ const char* destination, BOOL failIfExists,
                               _Out_opt_ DWORD* needRestart);

/**
 * Deletes a file or an empty directory (DeleteFile, RemoveDirectory); where that fails now, the deletion is deferred.
 * @param needRestart  Receives 1 if deferred, else 0; may be NULL.
 * @return 0, also if there is nothing of that name; or the code of TARVO_DeleteAfterReboot.
 */
DWORD __cdecl TARVO_DeleteFileEx(_In_z_ const char* path, _Out_opt_ DWORD* needRestart);

/** Defers the deletion of a file or empty directory. @return as TARVO_RenameAfterReboot without a target. */
DWORD __cdecl TARVO_DeleteAfterReboot(_In_z_ const char* path);

/** @} */

/**
 * @defgroup pending Pending operations: the Session Manager's list
 * @{
 */

/**
 * Reads the list into memory; changes not yet written are written first.
 * @return 0; ERROR_INVALID_DATA, the value is no text list; ERROR_NOT_ENOUGH_MEMORY, also for more than 5120
 *         operations; the code of writing changes, which then stay pending; or the registry's code.
 */
DWORD __cdecl TARVO_ReceivePFOsInfo(void);

/** Writes changes back, keeping what others have added meanwhile. @return 0, or as TARVO_ReceivePFOsInfo; then the
 * value is as it was, and all stays pending. */
DWORD __cdecl TARVO_UpdatePFOsInfo(void);

/**
 * Defers a rename that replaces the target, or, with target NULL or "", a deletion. The same call twice defers twice.
 * Relative paths are made full.
 * @return 0; ERROR_INVALID_PARAMETER, no source; ERROR_NOT_ENOUGH_MEMORY, also when 5120 operations are in memory;
 *         or the code of reading or writing the list.
 */
DWORD __cdecl TARVO_RenameAfterReboot(_In_z_ const char* source, _In_opt_z_ const char* target);

/**
 * Takes operations off the list, PendingFileRenameOperations2 included; finding none is no error. NULL for both takes
 * off all, those of others too; Inno Setup hands an empty text over as NULL.
 * @param source       Full path, or NULL for any source.
 * @param destination  Full path, "NUL" for deletions only, or NULL for any target.
 * @return 0, or the code of reading or writing the list.
 */
DWORD __cdecl TARVO_RemovePendingFileOperation(_In_opt_z_ const char* source, _In_opt_z_ const char* destination);

/**
 * Finds what the next restart will put in place of a file; the newest operation on it decides.
 * @param destination  Full path of the file.
 * @param source       Receives the plain path, or "" if the file is to be deleted.
 * @param size         Bytes at source, at least MAX_PATH.
 * @return 0; ERROR_INSUFFICIENT_BUFFER; ERROR_FILE_NOT_FOUND, nothing will come there; or the code of reading the list.
 */
DWORD __cdecl TARVO_FindSourceInPFOs(_In_z_ const char* destination, _Out_writes_z_(size) char* source, DWORD size);

/** Non-zero, as at load, writes every change at once; with 0 changes wait for TARVO_UpdatePFOsInfo and die with the
 * library. */
void __cdecl TARVO_SetPFOsImmediateFlush(DWORD flag);

/** @} */

/**
 * @defgroup registry Registry
 * @{
 */

/**
 * Sets a value named by a locator, creating the key level by level. The levels that this call itself has created, and
 * the value, are recorded.
 * @param locator  main key name \ subkey \\ value name | data: "HKEY_LOCAL_MACHINE\Software\X\\Name|data". The value
 *                 name may be empty; names lie within the first 2047 bytes. REG_MULTI_SZ data is a list of
 *                 terminated texts, ended by an empty one.
 * @param type     REG_SZ, REG_EXPAND_SZ, REG_DWORD (decimal text), REG_MULTI_SZ, or REG_NONE for the key alone;
 *                 a line for the value is recorded all the same.
 * @param flush    Without effect.
 * @return 0; ERROR_INVALID_PARAMETER, also for a malformed locator or another type; or the registry's code, levels
 *         created so far stay.
 */
DWORD __cdecl TARVO_CreateRegistryEntry(_In_z_ const char* locator, DWORD type, BOOL flush);

/**
 * As TARVO_CreateRegistryEntry; virtualized 0 works in the 64-bit view (KEY_WOW64_64KEY, which Windows 2000 does not
 * know), anything else in the process's own.
 */
DWORD __cdecl TARVO_CreateRegistryEntryEx(_In_z_ const char* locator, DWORD type, BOOL flush, BOOL virtualized);

/**
 * Sets the installed version of a product, below Software\Norrin Vale\Velmora\(product) in HKEY_LOCAL_MACHINE: the
 * value CurrentVersion. Recorded as TARVO_CreateRegistryEntry does.
 * @return 0; ERROR_INVALID_PARAMETER, a text is NULL or empty; ERROR_INSUFFICIENT_BUFFER, together too long for a
 *         locator; or the code of TARVO_CreateRegistryEntry.
 */
DWORD __cdecl TARVO_SetProductVersion(_In_z_ const char* version, _In_z_ const char* product);

/**
 * Puts a copy of a shared library on the list of its name, newest file first, files without a version last; what the
 * next restart will put in a copy's place counts. Created keys are recorded, the list is not. The current security
 * policy is put on the key of the lists.
 * @param path  Full path, at most 259 characters, the file's name at most 255; stored in lower case. What the list
 *              holds of others stays as it is.
 * @return 0; ERROR_INVALID_PARAMETER, NULL or empty; ERROR_FILENAME_EXCED_RANGE; ERROR_INVALID_DATA, the value is no
 *         text list and stays; or the registry's code.
 */
DWORD __cdecl TARVO_RegisterDelayLoadLibrary(_In_z_ const char* path);

/** Takes a copy off the list, the value and the key with the last one. @return as above; 0 too if it was not on a list
 */
DWORD __cdecl TARVO_UnRegisterDelayLoadLibrary(_In_z_ const char* path);

/**
 * Registers where a localization resource lies: directory and base name in one path. Recorded. The current security
 * policy is put on the key.
 * @return 0; ERROR_INVALID_PARAMETER, a text is NULL or empty; ERROR_FILENAME_EXCED_RANGE; or the registry's code.
 */
DWORD __cdecl TARVO_RegisterLocalizationResource(_In_z_ const char* directory, _In_z_ const char* baseName);

/**
 * Registers a source of the Application event log, or overwrites one. Not recorded: TARVO_DeleteEventSource removes it.
 * @param messageFile  File with the message texts; may hold environment variables.
 * @param types        EVENTLOG_..._TYPE bits.
 * @param categories   Number of categories in the same file; 0 leaves the category values as they are.
 * @return 0; ERROR_INVALID_PARAMETER, NULL or an empty source; ERROR_INSUFFICIENT_BUFFER, too long a source; or the
 *         registry's code, values written before stay.
 */
DWORD __cdecl TARVO_AddEventSource(_In_z_ const char* source, _In_z_ const char* messageFile, DWORD types,
                                   DWORD categories);

/** @return 0; ERROR_INVALID_PARAMETER, NULL or an empty source; ERROR_FILE_NOT_FOUND; or the registry's code */
DWORD __cdecl TARVO_DeleteEventSource(_In_z_ const char* source);

/** @} */

/**
 * @defgroup recording Uninstall log: recording
 * @{
 */

/**
 * Begins recording into an INI file, which need not exist; a read-only one is made writable. Each record is in the
 * file at once; a process that is killed leaves the file as it was before or after a record, and perhaps a file of that
 * name and ".tarvo-new", which a later record takes over.
 * @param file    Path, at most 259 characters are kept; one that is not full is taken from the folder now current. Its
 *                folder must exist: without it nothing can be recorded, which is traced as a warning at this call.
 *                What the file says is later done with the uninstaller's rights: let only administrators write it.
 * @param plugIn  Only traced; may be NULL.
 * @return 0, or the code of clearing the read-only attribute.
 */
DWORD __cdecl TARVO_StartUninstallLogging(_In_z_ const char* file, _In_opt_z_ const char* plugIn);

/** Ends recording; the file is flushed to the disk. @return 0; TARVO_ERROR_NO_LOG, recording is off */
DWORD __cdecl TARVO_StopUninstallLogging(void);

/**
 * Records a line, as WritePrivateProfileString would place it; blanks at the end of an item are kept. Not written, but
 * traced as a warning, is a line with control characters, with ']' in its section, with nothing or one of "[; " in
 * front of its "=", or with a further '=' in entry. Relative paths in the sections Files and Shortcuts become full
 * ones, from the folder now current; one that then has more than 259 characters is not written.
 * @param single  Non-zero writes entry=value; 0 writes value=1 and does not use entry.
 * @return 0, also when nothing was written; ERROR_INVALID_PARAMETER, one of the texts needed is NULL
 */
DWORD __cdecl TARVO_AddRollbackEntry(_In_z_ const char* section, _In_opt_z_ const char* entry, _In_z_ const char* value,
                                     BOOL single);

/** Records a created file or directory (TARVO_AddRollbackEntry). @return 0; ERROR_INVALID_PARAMETER */
DWORD __cdecl TARVO_AddFileToUninstallLog(_In_z_ const char* path);

/**
 * Records a name and value for TARVO_GetCustomUnInstallString, which gives the value back without blanks and a pair of
 * quotes around it (TARVO_AddRollbackEntry, single). @return 0; ERROR_INVALID_PARAMETER
 */
DWORD __cdecl TARVO_SetCustomUnInstallString(_In_z_ const char* name, _In_z_ const char* value);

/** @} */

/**
 * @defgroup replaying Uninstall log: replaying
 * @{
 */

/** What TARVO_PerformUnInstall removes. */
#define TARVO_UNINSTALL_REGISTRY 200        /**< values, and keys that have become empty */
#define TARVO_UNINSTALL_FILES 201           /**< files and emptied folders; locked ones at the next restart */
#define TARVO_UNINSTALL_SERVICES 202        /**< services, stopped first */
#define TARVO_UNINSTALL_SHORTCUTS 203       /**< as files */
#define TARVO_UNINSTALL_EVENTS 204          /**< nothing is recorded of these */
#define TARVO_UNINSTALL_SHELL_EXTENSION 205 /**< nothing is recorded of these */

/**
 * Names the log to replay; a path that is not full is taken from the folder now current.
 * @return 0; ERROR_FILE_NOT_FOUND
 */
DWORD __cdecl TARVO_OpenRollBackLog(_In_z_ const char* file);

/** @return 0; TARVO_ERROR_NO_LOG, no log is open */
DWORD __cdecl TARVO_CloseRollBackLog(void);

/**
 * Removes what the open log lists of one kind, contents before containers. Single failures are traced only; paths that
 * are not full are passed over and traced as a warning. Deferred renames onto a listed path are taken off the list.
 * @param operation  TARVO_UNINSTALL_...
 * @return 0; TARVO_ERROR_NO_LOG, no log is open; ERROR_INVALID_PARAMETER, no such operation; or the code of reading the
 * log.
 */
DWORD __cdecl TARVO_PerformUnInstall(DWORD operation);

/**
 * Reads back a recorded name (GetPrivateProfileString, which takes outer blanks and a pair of outer quotes off).
 * @param buffer  Receives the value, cut to size - 1 characters; "" if the name was never recorded.
 * @return 0; ERROR_INVALID_PARAMETER, a pointer is NULL or there is no room; TARVO_ERROR_NO_LOG, no log is open
 */
DWORD __cdecl TARVO_GetCustomUnInstallString(_In_z_ const char* name, _Out_writes_z_(size) char* buffer, DWORD size);

/** @} */

/**
 * @defgroup services Services
 *
 * machine is NULL for the local machine. All but TARVO_HaveInstallServiceRights connect with SC_MANAGER_ALL_ACCESS and
 * need an administrator: each returns the code of connecting, and one that opens a service that of opening it, such
 * as ERROR_SERVICE_DOES_NOT_EXIST (1060). No handle is kept beyond a call.
 * Recorded is the name alone: an uninstall looks for the service on its own machine.
 * @{
 */

/**
 * Installs a service (CreateService) with its display name as description, or changes an existing one with
 * TARVO_ChangeServiceConfig, all but its dependencies. The service is enabled in the hardware profile, then recorded.
 * @param serviceType, startType  SERVICE_... values. The error control is SERVICE_ERROR_IGNORE.
 * @param binaryPath      For a type with a process of its own or a shared one it is put in quotes as a whole,
 *                        arguments included, unless it begins with one.
 * @param dependencies    A list of terminated texts ended by an empty one; NULL for none.
 * @param account         NULL is LocalSystem.
 * @param changeExisting  Non-zero changes a service of that name.
 * @return 0; ERROR_INVALID_PARAMETER, no program for a new service; ERROR_FILE_EXISTS, it exists and shall not be
 *         changed; ERROR_SERVICE_MARKED_FOR_DELETE, it is to be changed and going; CreateService's code; or that of
 *         changing or of TARVO_EnableServiceInHWProfile, the service then stays and is not recorded.
 */
DWORD __cdecl TARVO_InstallService(_In_opt_z_ const char* machine, _In_z_ const char* service,
                                   _In_opt_z_ const char* displayName, DWORD serviceType, DWORD startType,
                                   _In_z_ const char* binaryPath, _In_opt_ const char* dependencies,
                                   _In_opt_z_ const char* account, _In_opt_z_ const char* password,
                                   BOOL changeExisting);

/**
 * Changes a service (ChangeServiceConfig) and makes its display name its description. SERVICE_NO_CHANGE and NULL keep
 * what is set. The service is enabled in the hardware profile, then recorded; mind the order of the types.
 * @param binaryPath  As for TARVO_InstallService; SERVICE_NO_CHANGE counts as a type that is put in quotes.
 * @return 0; ChangeServiceConfig's code; or that of TARVO_EnableServiceInHWProfile, the change then stays and is not
 *         recorded.
 */
DWORD __cdecl TARVO_ChangeServiceConfig(_In_opt_z_ const char* machine, _In_z_ const char* service, DWORD startType,
                                        DWORD serviceType, _In_opt_z_ const char* binaryPath,
                                        _In_opt_z_ const char* account, _In_opt_z_ const char* password,
                                        _In_opt_z_ const char* displayName);

/**
 * Changes an optional setting of a service (ChangeServiceConfig2, looked up at each call). Nothing is recorded.
 * @param level        SERVICE_CONFIG_..., such as 3, a delayed automatic start.
 * @param information  Address of the structure of that level; for 3 a BOOL.
 * @return 0; ERROR_PROC_NOT_FOUND on a Windows without that function; or its code.
 */
DWORD __cdecl TARVO_ChangeServiceConfig2(_In_opt_z_ const char* machine, _In_z_ const char* service, DWORD level,
                                         DWORD information);

/**
 * Reads the configuration of a service (QueryServiceConfig). Every answer may be NULL.
 * @param startType    Receives a SERVICE_... value.
 * @param interactive  Receives 1 or 0.
 * @param binaryPath   260 bytes; receives the path, cut to 259 characters.
 * @param account      1024 bytes; receives the account, cut to 1023 characters.
 * @param displayName  1024 bytes; receives the display name, cut to 1023 characters.
 * @return 0, or QueryServiceConfig's code; then nothing is written.
 */
DWORD __cdecl TARVO_GetServiceConfig(_In_opt_z_ const char* machine, _In_z_ const char* service,
                                     _Out_opt_ DWORD* startType, _Out_opt_ DWORD* interactive,
                                     _Out_writes_opt_z_(260) char* binaryPath, _Out_writes_opt_z_(1024) char* account,
                                     _Out_writes_opt_z_(1024) char* displayName);

/**
 * Asks whether a service exists.
 * @param installed  Receives 1 or 0.
 * @return 0; or the code of opening it for reading, unless that is ERROR_SERVICE_DOES_NOT_EXIST.
 */
DWORD __cdecl TARVO_IsServiceInstalled(_In_opt_z_ const char* machine, _In_z_ const char* service,
                                       _Out_ DWORD* installed);

/**
 * Asks an active service to stop, come what may, and marks it for deletion (DeleteService); nothing is waited for. What
 * is recorded of it stays.
 * @return 0, or DeleteService's code.
 */
DWORD __cdecl TARVO_RemoveService(_In_opt_z_ const char* machine, _In_z_ const char* service);

/**
 * Starts a service that is stopped (StartService); in any other state nothing is done. It is not waited for.
 * @return 0, or StartService's code.
 */
DWORD __cdecl TARVO_StartService(_In_opt_z_ const char* machine, _In_z_ const char* service);

/**
 * Asks a service that is not stopped to stop (ControlService). It is not waited for.
 * @return 0, or ControlService's code, such as ERROR_INVALID_SERVICE_CONTROL (1052).
 */
DWORD __cdecl TARVO_StopService(_In_opt_z_ const char* machine, _In_z_ const char* service);

/** Sends a control code, 128 to 255 for a service's own (ControlService). @return 0, or ControlService's code. */
DWORD __cdecl TARVO_SendUserControl(_In_opt_z_ const char* machine, _In_z_ const char* service, DWORD control);

/**
 * Asks for a service's state (QueryServiceStatus).
 * @param interactive  Receives SERVICE_INTERACTIVE_PROCESS (0x100) or 0; may be NULL.
 * @param state        Receives SERVICE_STOPPED (1), SERVICE_RUNNING (4) and so on; may be NULL.
 * @return 0, or QueryServiceStatus's code; then 0 stands in both.
 */
DWORD __cdecl TARVO_GetServiceStatus(_In_opt_z_ const char* machine, _In_z_ const char* service,
                                     _Out_opt_ DWORD* interactive, _Out_opt_ DWORD* state);

/**
 * Waits for a service to reach a state, asking once a second.
 * @param state     SERVICE_STOPPED, SERVICE_RUNNING and so on.
 * @param timeout   Milliseconds; the wait may last a second longer.
 * @param exitCode  Receives the service's exit code once the state is reached, else 0; may be NULL.
 * @return 0, also when the time-out passes (TARVO_GetServiceStatus and the trace log tell); or QueryServiceStatus's
 *         code.
 */
DWORD __cdecl TARVO_WaitForServiceState(_In_opt_z_ const char* machine, _In_z_ const char* service, DWORD state,
                                        DWORD timeout, _Out_opt_ DWORD* exitCode);

/**
 * Asks whether the caller may read and change a service's configuration, by opening it so.
 * @param haveRights  Receives 1; or 0, whatever kept the service from being opened.
 * @return 0, or the code of connecting.
 */
DWORD __cdecl TARVO_HaveChangeConfigRights(_In_opt_z_ const char* machine, _In_z_ const char* service,
                                           _Out_ DWORD* haveRights);

/** As TARVO_HaveChangeConfigRights, for asking for its state, starting and stopping it. */
DWORD __cdecl TARVO_HaveStartStopRights(_In_opt_z_ const char* machine, _In_z_ const char* service,
                                        _Out_ DWORD* haveRights);

/**
 * Asks whether the caller may create services (SC_MANAGER_CREATE_SERVICE).
 * @param haveRights  Receives 1; or 0, access was denied; may be NULL.
 * @return 0, or the code of connecting, but for ERROR_ACCESS_DENIED.
 */
DWORD __cdecl TARVO_HaveInstallServiceRights(_In_opt_z_ const char* machine, _Out_opt_ DWORD* haveRights);

/**
 * Clears the flags (CSConfigFlags) that disable a service in the current hardware profile of the local machine.
 * @param machine, hardwareProfile, controlSet  Only traced; may be NULL.
 * @return 0, also if the profile says nothing of the service; or the registry's code.
 */
DWORD __cdecl TARVO_EnableServiceInHWProfile(_In_opt_z_ const char* machine, _In_z_ const char* service,
                                             _In_opt_z_ const char* hardwareProfile, _In_opt_z_ const char* controlSet);

/** @} */

/**
 * @defgroup security Security: grants on files and registry keys
 * @{
 */

/** Access masks, which suit files and keys. */
#define TARVO_ACCESS_READ 0xA0000000UL   /**< GENERIC_READ, GENERIC_EXECUTE */
#define TARVO_ACCESS_CHANGE 0xE0010000UL /**< these, GENERIC_WRITE, DELETE */
#define TARVO_ACCESS_FULL 0x10000000UL   /**< GENERIC_ALL */

/** Relative identifiers: whom a grant is for, in any language of Windows. */
#define TARVO_RID_EVERYONE 0
#define TARVO_RID_AUTHENTICATED_USERS 11
#define TARVO_RID_SYSTEM 18
#define TARVO_RID_LOCAL_SERVICE 19
#define TARVO_RID_NETWORK_SERVICE 20
#define TARVO_RID_ADMINISTRATORS 544
#define TARVO_RID_USERS 545
#define TARVO_RID_GUESTS 546
#define TARVO_RID_POWER_USERS 547

/**
 * Grants an account access to an object, and its children to come (GetNamedSecurityInfo, SetNamedSecurityInfo). Two
 * entries replace what the list allowed or denied the account itself: one for the object, one that children inherit.
 * They stand behind explicit denials and in front of what allows or is inherited. The list is written protected: the
 * object no longer inherits from its parent and keeps what it had inherited.
 * @param type       SE_FILE_OBJECT (1) or SE_REGISTRY_KEY (4).
 * @param name       A file or directory; or a key, as main key name \ subkey, in the process's own view.
 * @param account    In any form that LookupAccountName takes; NULL is the account that runs the setup.
 * @param mask       TARVO_ACCESS_..., or other access rights.
 * @param replace    Non-zero leaves nothing in the list but the new entries.
 * @param recursive  Non-zero does the same to all that lies below, each object before its contents; failures there
 *                   are only traced and keep the walk out of what lies below them, as do paths of more than 259
 *                   characters. Links to directories are followed, each target once, but none that leads back into a
 *                   directory that the walk is in: never for a tree that users may write to. Links among keys are not
 *                   followed.
 * @return 0; ERROR_INVALID_PARAMETER, also for another type or a malformed key path; ERROR_NONE_MAPPED, no such
 *         account; ERROR_FILENAME_EXCED_RANGE, a key of more than 2047 bytes; ERROR_ALLOTTED_SPACE_EXCEEDED, a list
 *         that would exceed 64 KB; ERROR_INVALID_ACL, a damaged list; or the code of reading or writing the list.
 *         An object that fails keeps its list.
 */
DWORD __cdecl TARVO_SetObjectSecurity(DWORD type, _In_z_ const char* name, _In_opt_z_ const char* account, DWORD mask,
                                      BOOL replace, BOOL recursive);

/**
 * As TARVO_SetObjectSecurity, for a principal named by its relative identifier.
 * @param rid     TARVO_RID_... Without a domain: 0 everyone, 1 to 32 below NT AUTHORITY, 500 to 543 of this machine's
 * accounts, 544 to 999 built-in. With one: 500 to 543.
 * @param domain  NULL for this machine.
 * @return as TARVO_SetObjectSecurity; ERROR_NOT_SUPPORTED, another rid; ERROR_ACCESS_DENIED, also if the SID of the
 *         domain cannot be had (NetGetDCName, NetUserModalsGet).
 */
DWORD __cdecl TARVO_SetObjectSecurityRid(DWORD type, _In_z_ const char* name, DWORD rid, _In_opt_z_ const char* domain,
                                         DWORD mask, BOOL replace, BOOL recursive);

/** TARVO_SetObjectSecurity for files and directories. */
DWORD __cdecl TARVO_SetFileSecurity(_In_z_ const char* path, _In_opt_z_ const char* account, DWORD mask, BOOL replace,
                                    BOOL recursive);

/** TARVO_SetObjectSecurityRid for files and directories. */
DWORD __cdecl TARVO_SetFileSecurityRid(_In_z_ const char* path, DWORD rid, _In_opt_z_ const char* domain, DWORD mask,
                                       BOOL replace, BOOL recursive);

/** TARVO_SetObjectSecurity for registry keys. */
DWORD __cdecl TARVO_SetRegistrySecurity(_In_z_ const char* keyPath, _In_opt_z_ const char* account, DWORD mask,
                                        BOOL replace, BOOL recursive);

/** TARVO_SetObjectSecurityRid for registry keys. */
DWORD __cdecl TARVO_SetRegistrySecurityRid(_In_z_ const char* keyPath, DWORD rid, _In_opt_z_ const char* domain,
                                           DWORD mask, BOOL replace, BOOL recursive);

/** @} */

/**
 * @defgroup policies Security: policies
 * @{
 */

/** Applying it changes nothing. */
#define TARVO_POLICY_NONE 0
/** Full control: setup account, local system, Administrators, Power Users, Users, owners of what is created;
 * everyone reads. */
#define TARVO_POLICY_OPEN 1
/** Full control: setup account, local system, Administrators, owners of what is created; Power Users change, Users
 * read. */
#define TARVO_POLICY_USERS 2
/** Full control: setup account, local system, Administrators; no one else. */
#define TARVO_POLICY_LOCKED 16

/**
 * Selects the policy that the two calls below apply. A principal whose SID cannot be had is left out, which the trace
 * shows by its count. Selecting the current policy again keeps what was resolved for it.
 * @param policy  TARVO_POLICY_...
 * @return 0; ERROR_INVALID_PARAMETER, no such policy; the current one stays.
 */
DWORD __cdecl TARVO_DefineSecurityPolicy(DWORD policy);

/** @return the selected policy, TARVO_POLICY_NONE at load. */
DWORD __cdecl TARVO_GetSecurityPolicy(void);

/**
 * Gives a file or directory the access list of the selected policy, by one grant after the other as
 * TARVO_SetObjectSecurity makes them, the first of which replaces the list.
 * @param recursive  As for TARVO_SetObjectSecurity; the tree is walked once for each grant.
 * @return 0, also without a policy; ERROR_INVALID_PARAMETER, NULL or "", or the setup's own account has no SID: nothing
 *         is written then; or the code of the first grant that failed, those before it stay.
 */
DWORD __cdecl TARVO_ApplyFileSecurityPolicy(_In_z_ const char* path, BOOL recursive);

/** The same for a registry key, named as for TARVO_SetObjectSecurity. @return also that one's codes for a key path */
DWORD __cdecl TARVO_ApplyRegistrySecurityPolicy(_In_z_ const char* keyPath, BOOL recursive);

/** @} */

/**
 * @defgroup accounts Accounts, groups and shares
 *
 * Texts that are NULL are handed on as NULL. Each call returns 0 or the code of the network function behind it; the
 * codes of 2100 and above have texts of this library. Without memory all but TARVO_CreateSharedFolder return
 * TARVO_ERROR_FAILED.
 * @{
 */

/**
 * Creates a user account (NetUserAdd, level 1).
 * @param domain       Its primary domain controller (NetGetDCName) creates the account; NULL is this machine.
 * @param password     Never traced.
 * @param privilege    USER_PRIV_...
 * @param accountType  UF_... flags; UF_SCRIPT is added.
 * @return as above; NERR_DCNotFound or another code of NetGetDCName, nothing was created
 */
DWORD __cdecl TARVO_CreateAccount(_In_opt_z_ const char* domain, _In_opt_z_ const char* user,
                                  _In_opt_z_ const char* password, DWORD privilege, DWORD accountType);

/** Deletes a user account (NetUserDel); the domain as for TARVO_CreateAccount. */
DWORD __cdecl TARVO_DeleteAccount(_In_opt_z_ const char* domain, _In_opt_z_ const char* user);

/** Creates a local group (NetLocalGroupAdd, level 1). @param machine  NULL is this machine, here and below. */
DWORD __cdecl TARVO_CreateLocalGroup(_In_opt_z_ const char* machine, _In_opt_z_ const char* group,
                                     _In_opt_z_ const char* comment);

/** Deletes a local group (NetLocalGroupDel). */
DWORD __cdecl TARVO_DeleteLocalGroup(_In_opt_z_ const char* machine, _In_opt_z_ const char* group);

/** Puts an account, given as domain \ name, into a local group (NetLocalGroupAddMembers, level 3); mind the order. */
DWORD __cdecl TARVO_AddUserToLocalGroup(_In_opt_z_ const char* account, _In_opt_z_ const char* machine,
                                        _In_opt_z_ const char* group);

/**
 * Shares a folder (NetShareAdd, level 2) for any number of users.
 * @param path  A folder of that machine.
 * @return as above; ERROR_NOT_ENOUGH_MEMORY (8) without memory
 */
DWORD __cdecl TARVO_CreateSharedFolder(_In_opt_z_ const char* machine, _In_opt_z_ const char* path,
                                       _In_opt_z_ const char* share, _In_opt_z_ const char* comment);

/** Not implemented, like the four below. @return ERROR_INVALID_FUNCTION (1), text "Function unimplemented" */
DWORD __cdecl TARVO_DlgCreateAccount(void);
DWORD __cdecl TARVO_DeleteShare(void);
DWORD __cdecl TARVO_DlgCreateSharedFolder(void);
DWORD __cdecl TARVO_SetPermissions(void);
DWORD __cdecl TARVO_DlgSetPermissions(void);

/** @} */

/**
 * @defgroup platform Platform
 * @{
 */

/** Which Windows it is; newer ones are greater, but for Windows ME. */
#define TARVO_PLATFORM_UNKNOWN 101
#define TARVO_PLATFORM_WIN95 103
#define TARVO_PLATFORM_WIN98 104
#define TARVO_PLATFORM_WIN32S 105
#define TARVO_PLATFORM_NT35 106
#define TARVO_PLATFORM_NT351 107
#define TARVO_PLATFORM_NT4 108
#define TARVO_PLATFORM_NT50 109 /**< Windows 2000 */
#define TARVO_PLATFORM_WINME 110
#define TARVO_PLATFORM_NT51 111 /**< Windows XP */
#define TARVO_PLATFORM_NT52 112 /**< Windows Server 2003 and other 5.x */
#define TARVO_PLATFORM_NT60_WORKSTATION 113
#define TARVO_PLATFORM_NT60_SERVER 114
#define TARVO_PLATFORM_NT61_WORKSTATION 115
#define TARVO_PLATFORM_NT61_SERVER 116
#define TARVO_PLATFORM_NT62_WORKSTATION 117
#define TARVO_PLATFORM_NT62_SERVER 118
#define TARVO_PLATFORM_NT63_WORKSTATION 119
#define TARVO_PLATFORM_NT63_SERVER 120

/**
 * Tells which Windows this is, by what it says of itself (GetVersionEx).
 * @return TARVO_PLATFORM_..., no result code: TARVO_PLATFORM_UNKNOWN also stands for a failing query, which stores its
 *         text, and for any Windows that reports NT 6.4 or later.
 */
DWORD __cdecl TARVO_GetPlatform(void);

/** What TARVO_GetPlatformEx answers. */
#define TARVO_ASK_PLATFORM 150      /**< integer: as TARVO_GetPlatform */
#define TARVO_ASK_IS_NT 151         /**< bool: of the NT family */
#define TARVO_ASK_IS_WINDOWS_9X 152 /**< bool: of the Windows 95 family */
#define TARVO_ASK_IS_SERVER 153     /**< bool: an NT server or domain controller (NetServerGetInfo) */
#define TARVO_ASK_SERVICE_PACK 156  /**< integer: number of the service pack, 0 for none */

/**
 * Answers one question about the platform.
 * @param item           TARVO_ASK_...
 * @param boolBuffer     Receives 1 or 0 for a bool item; may be NULL.
 * @param integerBuffer  Receives the number for an integer item; may be NULL.
 * @return 0, also if there is no room for the answer; ERROR_INVALID_PARAMETER, no such item; the code of
 *         NetServerGetInfo or, for the service pack, of GetVersionEx: then nothing is written.
 */
DWORD __cdecl TARVO_GetPlatformEx(DWORD item, _Out_opt_ BOOL* boolBuffer, _Out_opt_ DWORD* integerBuffer);

/** @return non-zero on a 64-bit Windows (IsWow64Process); no result code. */
BOOL __cdecl TARVO_Is64BitPlatform(void);

/**
 * @return the bytes of physical memory as a 32-bit program sees them (GlobalMemoryStatus), never more than 2 GB, or 4
 * GB in a program linked for large addresses; no result code.
 */
DWORD __cdecl TARVO_GetAmountOfRAM(void);

/** @} */

/**
 * @defgroup utilities Process, module and text utilities
 * @{
 */

/**
 * Starts a program or opens a document (ShellExecute), without waiting.
 * @param commandLine  A path, or a path in double quotes and arguments.
 * @return 0; ERROR_FILENAME_EXCED_RANGE, a quoted path of more than 259 characters; or ShellExecute's value, 32 or
 *         less: 0 too, if the shell had no memory.
 */
DWORD __cdecl TARVO_ShellExecute(_In_z_ const char* commandLine);

/** @return TRUE if the library, loaded for the question if need be, exports the function; FALSE for anything else. */
BOOL __cdecl TARVO_DllFunctionExist(_In_z_ const char* library, _In_z_ const char* function);

/**
 * Reads the lines of a section of an INI file: a list of texts ended by an empty one (two zero bytes if there are
 * none), without line ends, leading blanks and empty lines.
 * @param buffer  Receives the list; may be NULL.
 * @param size    Bytes at buffer; receives the bytes that are surely enough.
 * @return 0; ERROR_FILE_NOT_FOUND, the file cannot be read; ERROR_MORE_DATA, no buffer or too small
 */
DWORD __cdecl TARVO_ReadIniFileSection(_In_z_ const char* file, _In_z_ const char* section,
                                       _Out_writes_opt_(*size) char* buffer, _Inout_ DWORD* size);

/**
 * Converts text of a code page to UTF-8 (MultiByteToWideChar, WideCharToMultiByte).
 * @param destination  Receives the text; NULL asks for its size.
 * @param size         Bytes at destination; receives the size needed if destination is NULL.
 * @return 0; ERROR_INSUFFICIENT_BUFFER; or the code of the conversion.
 */
DWORD __cdecl TARVO_MultiByteToUtf8(_In_z_ const char* source, DWORD codePage,
                                    _Out_writes_opt_z_(*size) char* destination, _Inout_ int* size);

/** Converts UTF-8 to text of a code page; mind the order of the parameters. Otherwise as TARVO_MultiByteToUtf8. */
DWORD __cdecl TARVO_Utf8ToMultiByte(_In_z_ const char* source, _Out_writes_opt_z_(*size) char* destination,
                                    DWORD codePage, _Inout_ int* size);

/** @} */

/**
 * @defgroup shortcuts Shortcuts
 * @{
 */

/**
 * Creates a shortcut in a group of the Start menu's programs, for all users where the system has such a folder
 * (IShellLink). The group folder is made if need be; both are recorded.
 * @param file      The target, or the target in double quotes and its arguments; each at most 259 characters.
 * @param startIn   Working directory; may be NULL.
 * @param runState  SW_SHOWNORMAL, SW_SHOWMAXIMIZED or SW_SHOWMINNOACTIVE.
 * @return 0; ERROR_FILENAME_EXCED_RANGE; the code of making the folder; TARVO_ERROR_FAILED, the shell failed.
 */
DWORD __cdecl TARVO_AddShortCut(_In_z_ const char* group, _In_z_ const char* description, _In_z_ const char* file,
                                _In_opt_z_ const char* startIn, DWORD runState);

/**
 * Deletes a shortcut, and its group folder if that has become empty.
 * @return 0; ERROR_FILE_NOT_FOUND; ERROR_FILENAME_EXCED_RANGE; another code of deleting the file; TARVO_ERROR_FAILED.
 */
DWORD __cdecl TARVO_RemoveShortCut(_In_z_ const char* group, _In_z_ const char* description);

/** @} */

/**
 * @defgroup dialogs Please-wait window and restart
 * @{
 */

/**
 * Shows the please-wait window, centred, with a caption and a line of text; one already shown goes first. It is painted
 * when the call returns. It belongs to the calling thread, which must dispatch messages for it to be painted anew, and
 * goes with TARVO_HideProgressDialog or the library.
 * @return 0; TARVO_ERROR_FAILED, nothing is shown
 */
DWORD __cdecl TARVO_ShowProgressDialog(_In_opt_ HWND parent, _In_opt_z_ const char* caption,
                                       _In_opt_z_ const char* message);

/** Removes the please-wait window. @return 0, also if there is none */
DWORD __cdecl TARVO_HideProgressDialog(void);

#define TARVO_REBOOT_NORMAL 1 /**< applications may refuse */
#define TARVO_REBOOT_FORCED 2 /**< applications are closed, unsaved data is lost */

/**
 * Restarts the machine at once (InitiateSystemShutdown); returns as soon as that is on its way.
 * @param mode  TARVO_REBOOT_...
 * @return 0; ERROR_INVALID_PARAMETER; or the code of the token, the privilege or the shutdown.
 */
DWORD __cdecl TARVO_Reboot(int mode);

/** @} */

/**
 * @defgroup pickers Account and folder pickers
 * @{
 */

/** The person chose nothing. */
#define TARVO_PICKER_CANCELLED 1
/** The system has no such dialog. */
#define TARVO_PICKER_UNAVAILABLE 2

/**
 * Lets the person choose an account in the system's user browser.
 * @param user, domain  Receive the names, cut and terminated; a size of 0 gets nothing.
 * @return 0; TARVO_PICKER_CANCELLED; TARVO_PICKER_UNAVAILABLE; ERROR_INVALID_PARAMETER, a buffer is NULL
 */
DWORD __cdecl TARVO_DlgSelectUser(_In_opt_ HWND owner, _Out_writes_z_(userSize) char* user, DWORD userSize,
                                  _Out_writes_z_(domainSize) char* domain, DWORD domainSize);

/**
 * Lets the person choose a folder of the file system (SHBrowseForFolder). The current directory stays.
 * @param pchTitle         Caption of the dialog, or NULL.
 * @param pchInstructions  Text above the tree, or NULL.
 * @param bMyComputerOnly  Non-zero: the tree begins at the computer's drives.
 * @param folder           At least MAX_PATH bytes. In: a drive path to select, as far as it exists, or "". Out: the
 *                         folder chosen; as it was if none was.
 * @return 0; TARVO_PICKER_CANCELLED; ERROR_NOT_ENOUGH_MEMORY, no shell allocator; ERROR_BAD_PATHNAME, no folder of a
 * file system
 */
DWORD __cdecl TARVO_DlgSelectSharedFolderEx(_In_opt_ HWND hParentWnd, _In_opt_z_ const char* pchTitle,
                                            _In_opt_z_ const char* pchInstructions, BOOL bEditBoxEnable,
                                            BOOL bNewDialogStyle, BOOL bMyComputerOnly,
                                            _Inout_updates_z_(MAX_PATH) char* folder);

/**
 * As TARVO_DlgSelectSharedFolderEx without options or initial folder.
 * @param pdwBufferLen  Bytes at pchBuffer; receives the bytes that the folder needs.
 * @return as there; TARVO_PICKER_CANCELLED with the text "Buffer is too small." too, the buffer then untouched
 */
DWORD __cdecl TARVO_DlgSelectSharedFolder(_In_opt_ HWND hParentWnd, _Out_writes_z_(*pdwBufferLen) char* pchBuffer,
                                          _Inout_ DWORD* pdwBufferLen);

/** @} */

/**
 * @defgroup components Product components
 * @{
 */

/**
 * Starts the management console, kob32.exe in the product's common directory, without waiting (ShellExecute).
 * @return 0; TARVO_ERROR_FAILED, the directory is not in the registry or the program does not start
 */
DWORD __cdecl TARVO_StartKOB(void);

/** Does nothing. @return 0 */
DWORD __cdecl TARVO_StopKOB(void);

/**
 * Starts the management agent's service, KOBA, unless it runs or starts already, and gives it a minute to run; not
 * running by then is no failure.
 * @return 0; or the code of TARVO_GetServiceStatus, TARVO_StartService or TARVO_WaitForServiceState.
 */
DWORD __cdecl TARVO_StartKOBA(void);

/**
 * Stops the management agent's service and gives it a minute to stop; still running by then is no failure.
 * @return 0, also without such a service; or the code of TARVO_StopService or TARVO_WaitForServiceState.
 */
DWORD __cdecl TARVO_StopKOBA(void);

/**
 * Copies a default policy file into a directory over an existing one, unless it lies there already, and records it;
 * for the extension dpf the file of the same name with dpx is recorded too.
 * @return 0; ERROR_FILENAME_EXCED_RANGE, a path of more than 259 characters; or the code of TARVO_CopyFile, then
 *         nothing is recorded.
 */
DWORD __cdecl TARVO_InstallDefaultPolicyFile(_In_z_ const char* source, _In_z_ const char* directory);

/** @} */

/**
 * @defgroup plugins Management plug-ins
 * @{
 */

/**
 * Registers a plug-in of the management console: its ImagePath. Recorded.
 * @return as TARVO_CreateRegistryEntry; ERROR_INSUFFICIENT_BUFFER, too long for a locator of 2047 bytes
 */
DWORD __cdecl TARVO_RegisterKobPlugIn(_In_z_ const char* name, _In_z_ const char* path);

/**
 * Registers a plug-in of the management agent; each value is recorded. All is written as it is given, but numbers
 * above 0x7FFFFFFF, which locators do not carry, become 0x7FFFFFFF.
 * @param reserved          Ignored.
 * @param dependencies      List of texts ended by an empty one; at most 1024 bytes are taken.
 * @param restartAttempts   This one, restartInterval and waitingInterval: 0xFFFFFFFF leaves the value out.
 * @return 0; ERROR_INVALID_PARAMETER; ERROR_INSUFFICIENT_BUFFER, too long for a locator of 2047 bytes; or the code of
 *         TARVO_CreateRegistryEntry, values written so far stay.
 */
DWORD __cdecl TARVO_RegisterKobaPlugInEx(DWORD reserved, DWORD type, DWORD startMode, DWORD errorControl,
                                         _In_z_ const char* name, _In_z_ const char* oid, _In_z_ const char* path,
                                         _In_ const char* dependencies, DWORD restartAttempts, DWORD restartInterval,
                                         DWORD waitingInterval);

/** As TARVO_RegisterKobaPlugInEx, without the three restart values. */
DWORD __cdecl TARVO_RegisterKobaPlugIn(DWORD reserved, DWORD type, DWORD startMode, DWORD errorControl,
                                       _In_z_ const char* name, _In_z_ const char* oid, _In_z_ const char* path,
                                       _In_ const char* dependencies);

/**
 * Sets one more value of a registered agent plug-in (RegSetValueEx). Recorded.
 * @return 0; ERROR_INVALID_PARAMETER, no name; ERROR_FILE_NOT_FOUND, no such plug-in; or the registry's code.
 */
DWORD __cdecl TARVO_RegisterKobaPlugInProperty(_In_z_ const char* name, _In_opt_z_ const char* property, DWORD type,
                                               _In_reads_bytes_(size) const void* data, DWORD size);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
