#include "LoudConfigUser.h"
