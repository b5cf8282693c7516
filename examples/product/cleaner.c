/*
 * Another maker's program, which has a file deleted at the next restart: "cleaner FILE".
 */
#include <windows.h>

int main(int count, char** arguments)
{
    return count == 2 && MoveFileExA(arguments[1], NULL, MOVEFILE_DELAY_UNTIL_REBOOT) ? 0 : 1;
}
