#include "platform/text.h"
