#include "PropertyValue.h"
