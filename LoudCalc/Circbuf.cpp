#include "Circbuf.h"
