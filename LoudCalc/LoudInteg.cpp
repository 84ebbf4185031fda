#include "LoudInteg.h"
