// SPDX-License-Identifier: Apache-2.0

// Stands in for the property library of the container host. Built twice, the second time without the function.

#include <cstring>
#include <string>

#ifndef TOVRIN_WITHOUT_PROPERTY_GET

namespace {

constexpr std::size_t ValueLimit = 92; // with the NUL

int answer(char *value, const std::string &text)
{
    std::memcpy(value, text.c_str(), text.size() + 1);
    return static_cast<int>(text.size());
}

} // namespace

extern "C" __attribute__((visibility("default"))) int property_get(const char *name, char *value, const char *fallback)
{
    const std::string property = name;
    if (property == "test.value")
        return answer(value, "a value");
    if (property == "test.longest")
        return answer(value, std::string(ValueLimit - 1, 'x'));
    if (property == "test.unterminated") {
        std::memset(value, 'y', ValueLimit);
        return static_cast<int>(ValueLimit);
    }
    if (property == "test.negative") {
        answer(value, "not to be seen");
        return -1;
    }
    if (property == "test.zero") {
        answer(value, "not to be seen");
        return 0;
    }
    return answer(value, fallback);
}

#else

extern "C" __attribute__((visibility("default"))) int property_set(const char *, const char *)
{
    return 0;
}

#endif
