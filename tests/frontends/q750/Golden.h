#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "TemporaryFolder.h"

// Compares a text with the file golden/<name>. After an intended change, rewrite all of them with
//
//   UPDATE_GOLDEN=1 build/dev/tests/frontends/q750/command-line-tests
inline void expectGolden(const std::string& name, const std::string& text) {
  const std::string path = Q750_GOLDEN_FOLDER "/" + name;
  if (std::getenv("UPDATE_GOLDEN") != nullptr) writeContent(path, text);
  EXPECT_EQ(text, contentOf(path)) << "differs from " << path << "; see Golden.h for how to update it";
}
