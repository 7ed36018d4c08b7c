#include <gtest/gtest.h>
#include "launcher/browser_arguments.h"
TEST(Smoke, QuoteEmpty) { EXPECT_EQ(nv::quote_argument(L""), L"\"\""); }
