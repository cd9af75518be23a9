// Control ids of the inverse FFT dialog, for its template and its code.
#pragma once

#define IDD_INVERSEFFT 111
#define IDB_INVERSEFFT_HELP 9
