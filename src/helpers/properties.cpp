// SPDX-License-Identifier: Apache-2.0
#include <tovrin/parser/helpers.h>

#include <dlfcn.h>

#include <array>
#include <cstring>

namespace Tovrin::Parser::Helpers {

namespace {

constexpr std::size_t ValueLimit = 92; // of an Android property, with the NUL

using PropertyGet = int (*)(const char *name, char *value, const char *fallback);

// Never closed: the library may hand its memory to threads that live on.
void *propertyLibrary()
{
    static void *const library = dlopen("libandroid-properties.so.1", RTLD_LAZY);
    return library;
}

PropertyGet propertyGet()
{
    void *const library = propertyLibrary();
    return library ? reinterpret_cast<PropertyGet>(dlsym(library, "property_get")) : nullptr;
}

} // namespace

std::string getprop(const std::string &name)
{
    const auto get = propertyGet();
    std::array<char, ValueLimit> value{};
    if (!get || get(name.c_str(), value.data(), "") <= 0)
        return {};
    return {value.data(), strnlen(value.data(), value.size())};
}

} // namespace Tovrin::Parser::Helpers
