// Control ids of the weighting dialog, for its template and its code.
#pragma once

#define IDD_FREQWEIGHT 128
#define IDB_FREQWEIGHT_HELP 1001
#define IDR_FREQWEIGHT_LINEAR 1215
#define IDR_FREQWEIGHT_A 1216
#define IDR_FREQWEIGHT_B 1217
#define IDR_FREQWEIGHT_C 1218
