// Control ids of the statistics dialog, for its template and its code.
#pragma once

#define IDD_STATISTIK 106
#define IDB_STATISTIK_HELP 1001
#define IDB_STATISTIK_ALL_ON 3
#define IDB_STATISTIK_ALL_OFF 4
#define IDG_STATISTIK_SUMS 1090
#define IDG_STATISTIK_EXTREMES 1091
#define IDG_STATISTIK_MEASURES 1092
#define IDG_STATISTIK_MEANS 1093
#define IDG_STATISTIK_DISPERSION 1094
#define IDG_STATISTIK_RESULTS 1095
// The check boxes of the measures 0 to 10 and 11 to 20; the id between them belongs to nothing.
#define IDX_STATISTIK_MEASURE_0 1030
#define IDX_STATISTIK_MEASURE_11 1042
#define IDR_STATISTIK_ONE_OUTPUT 1052
#define IDR_STATISTIK_OUTPUT_PER_MEASURE 1053
