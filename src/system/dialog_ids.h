/* Numbers of the library's dialog and its control; the resource compiler reads them too. */
#ifndef TARVO_SYSTEM_DIALOG_IDS_H
#define TARVO_SYSTEM_DIALOG_IDS_H

#define IDD_PROGRESS 101
#define IDC_PROGRESS_MESSAGE 1001

#endif
