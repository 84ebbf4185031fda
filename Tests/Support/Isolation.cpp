#include "Isolation.h"

void IsolateTestProcess() {}
