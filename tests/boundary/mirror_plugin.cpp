// A plug-in that uses LanternComponent, which another one registers.

#include "plugin_api_impl.h"
