/* A library that version 1 of the product uses and version 2 no longer has. */

__declspec(dllexport) int WickVersion(void);

int WickVersion(void)
{
    return 1;
}
