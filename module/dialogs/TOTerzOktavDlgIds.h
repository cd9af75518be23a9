// Control ids of the third-octave dialog, for its template and its code.
#pragma once

#define IDD_TERZOKTAV 103
#define IDB_TERZOKTAV_HELP 1108
#define IDC_TERZOKTAV_TYPE 1021
#define IDX_TERZOKTAV_A_WEIGHTING 1020
