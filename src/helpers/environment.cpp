// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/helpers.h>

#include <cstdlib>

namespace Tovrin::Parser::Helpers {

std::string getenv2(const char *name, const std::string &fallback)
{
    const char *value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): see the header
    return value ? value : fallback;
}

} // namespace Tovrin::Parser::Helpers
