#pragma once

#include <resource/data_section.h> // Defines the cursor, too.
