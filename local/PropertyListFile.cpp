#include "PropertyListFile.h"
