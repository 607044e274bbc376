#pragma once

#include <string>

namespace quillvane::test {

// Points HOME, XDG_DATA_HOME, XDG_CONFIG_HOME, XDG_CACHE_HOME and TMPDIR into a fresh
// temporary folder before anything reads them, so no test can touch the real user's library
// or preferences. Returns the folder; empty when it could not be made.
std::string enterTestHome();
void leaveTestHome(const std::string &home);

} // namespace quillvane::test
