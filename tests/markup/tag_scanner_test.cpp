#include "markup/tag_scanner.h"

#include <gtest/gtest.h>

#include "tests/markup/literal_scanner.h"
