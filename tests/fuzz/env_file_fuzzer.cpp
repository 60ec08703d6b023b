// SPDX-License-Identifier: Apache-2.0

// Environment files: the last line that sets the variable counts.
//
// Input: the variable, FieldEnd, the text of the file.

#include "harness.h"
#include "reference.h"
#include "stand_ins.h"

#include <tovrin/parser/helpers.h>

namespace {

using namespace Tovrin::Fuzz;
using Tovrin::Parser::Helpers::readEnvFile;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const MemoryFile file(FirstDescriptor);
    StandIns standIns;
    Input input(data, size);
    const auto variable = input.field();
    const auto text = expanded(input.rest());
    file.write(text);

    const auto value = Reference::envFileValue(text, variable);
    expectEqual("value", readEnvFile(file.path(), variable, false), value);
    expectEqual("silence", standIns.takeRecords(), {});

    Records expected;
    if (!value)
        Reference::report(expected, Reference::Error,
                          "No '" + variable + "' variable specified in environment file '" + file.path() + "'");
    expectEqual("value, verbose", readEnvFile(file.path(), variable, true), value);
    expectEqual("records", standIns.takeRecords(), expected);

    expectEqual("value of no file", readEnvFile("/nonexistent", variable, true), {});
    expectEqual("records of no file", standIns.takeRecords(),
                {{Reference::Error, "Reading environment file '/nonexistent' failed"}});
    return 0;
}
