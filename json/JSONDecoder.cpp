#include "JSONKit.h"
