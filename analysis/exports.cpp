#include "ovanlys/functions.h"
