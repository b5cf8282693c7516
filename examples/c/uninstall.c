/*
 * An uninstaller in C for what the setups of this folder's neighbours install.
 *   uninstall    TARVO.DLL lies beside it
 * Ends with 0, with 3010 when a restart is needed to finish, or with 1. The file that LANTERN_LOG names takes the
 * library's trace, LANTERN_REPORT what was done, in short.
 */
#include <tarvo/tarvo.h>

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define RESTART_NEEDED 3010

static FILE* report;
static int restart_needed;

static void Say(const char* what, const char* of)
{
    printf("%s%s\n", what, of);
    if (report)
        fprintf(report, "%s%s\n", what, of);
}

/* Ends the run if a call has failed. */
static void Check(DWORD code, const char* what)
{
    char text[1024];
    if (code == 0)
        return;
    TARVO_GetLastErrorMessage(text, sizeof text);
    fprintf(stderr, "%s failed with %lu: %s\n", what, code, text);
    exit(1);
}

static void Replay(DWORD operation, const char* what)
{
    char done[64];
    Check(TARVO_PerformUnInstall(operation), what);
    snprintf(done, sizeof done, "%lu, %s: ", operation, what);
    Say(done, "done");
}

/*
 * Removes the product's folder, and the one above it for all that comes from Harbour. One that is not empty is tried
 * again at the restart, when what was in use has gone. Others may keep it: that is no reason for a restart.
 */
static void RemoveFolders(const char* folder)
{
    char above[MAX_PATH];
    char* end;
    Check(TARVO_DeleteFileEx(folder, NULL), "deleting the folder");
    snprintf(above, sizeof above, "%s", folder);
    end = strrchr(above, '\\');
    if (!end)
        return;
    *end = '\0';
    Check(TARVO_DeleteFileEx(above, NULL), "deleting the folder above");
}

/* The steps of a replay tell of no restart; what the next one will delete does. Folders do not count. */
static int GoesAtRestart(char* line)
{
    char replacement[MAX_PATH];
    char* const equals = strrchr(line, '=');
    DWORD attributes;
    if (!equals || equals[1] != '1')
        return 0;
    *equals = '\0';
    attributes = GetFileAttributesA(line);
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY) &&
           TARVO_FindSourceInPFOs(line, replacement, sizeof replacement) == 0 && replacement[0] == '\0';
}

static void LookForWhatIsLeft(const char* log)
{
    char* lines;
    char* line;
    char* next;
    DWORD size = 0;
    TARVO_ReadIniFileSection(log, "Files", NULL, &size);
    lines = malloc(size);
    if (!lines)
        exit(1);
    Check(TARVO_ReadIniFileSection(log, "Files", lines, &size), "reading the uninstall log");
    for (line = lines; *line; line = next) {
        next = line + strlen(line) + 1;
        restart_needed |= GoesAtRestart(line);
    }
    free(lines);
}

/* Where the setup installed the product, its log among it: this goes with the registry entries. */
static void ReadFolder(char* folder, DWORD size)
{
    HKEY key;
    DWORD type = 0;
    LONG code = RegOpenKeyExA(HKEY_LOCAL_MACHINE, "Software\\Harbour\\Lantern", 0, KEY_READ, &key);
    if (code == 0) {
        --size; /* room for a zero that the value may lack */
        code = RegQueryValueExA(key, "Folder", NULL, &type, (BYTE*)folder, &size);
        RegCloseKey(key);
    }
    if (code != 0 || type != REG_SZ) {
        fprintf(stderr, "Lantern is not installed\n");
        exit(1);
    }
    folder[size] = '\0';
}

static void Uninstall(const char* log, const char* folder)
{
    char version[64];
    Check(TARVO_OpenRollBackLog(log), "opening the uninstall log");
    Check(TARVO_GetCustomUnInstallString("Version", version, sizeof version), "reading the version");
    Say("the log says: version ", version);
    Replay(TARVO_UNINSTALL_SERVICES, "services");
    Replay(TARVO_UNINSTALL_REGISTRY, "registry entries");
    Replay(TARVO_UNINSTALL_FILES, "files");
    Replay(TARVO_UNINSTALL_SHORTCUTS, "shortcuts");
    Check(TARVO_CloseRollBackLog(), "closing the uninstall log");
    Check(TARVO_DeleteEventSource("Lantern"), "deleting the event source");
    LookForWhatIsLeft(log);
    Check(TARVO_DeleteFileEx(log, NULL), "deleting the uninstall log");
    RemoveFolders(folder);
    if (restart_needed)
        Say("the rest goes at the restart: ", folder);
}

int main(void)
{
    char folder[MAX_PATH] = "";
    char log[MAX_PATH + 16];
    const char* trace = getenv("LANTERN_LOG");
    const char* record = getenv("LANTERN_REPORT");
    report = record ? fopen(record, "w") : NULL;
    if (trace)
        TARVO_StartDebugLoggingRunTime(trace, FALSE);
    ReadFolder(folder, sizeof folder);
    snprintf(log, sizeof log, "%s\\uninstall.log", folder);
    Uninstall(log, folder);
    if (report)
        fclose(report);
    return restart_needed ? RESTART_NEEDED : 0;
}
