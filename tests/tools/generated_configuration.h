// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace Tovrin::Testing {

// A configuration made of all that a key file can do, right and wrong: the same for the same seed. Few names, so that
// entries meet; circles, long chains, dropped keys, failing templates, bad lines.
class GeneratedConfiguration {
public:
    explicit GeneratedConfiguration(std::uint32_t seed) : random_(seed)
    {
        badLines_ = chance(30);
        commands_ = chance(2);
        for (auto count = 1 + below(3); count > 0; --count)
            files.push_back(file());
        if (chance(10))
            files.push_back(chain());
    }

    static std::vector<std::string> groups() { return {"", "G", "H h", "-.", "_9"}; }
    static std::vector<std::string> keys() { return {"a", "b", "c", "d d", "e ", "-", "0.", "A"}; }

    std::vector<std::string> files; // their texts

    // A number below the limit, for the choices of a test.
    std::size_t below(std::size_t limit) { return random_() % limit; }
    bool chance(std::size_t percent) { return below(100) < percent; }

private:
    std::string one(const std::vector<std::string> &choices) { return choices[below(choices.size())]; }

    std::string file()
    {
        std::string text;
        for (auto lines = below(25); lines > 0; --lines)
            text += line() + '\n';
        return text;
    }

    std::string line()
    {
        const auto kind = below(20);
        if (badLines_ && chance(4))
            return one({" a=1", "a", "[G", "[G] ", "[a/b]", "\r", "a/b=1", "=1", "\xc3\xa4=1", "a\t=1"});
        if (kind == 0)
            return one({"", "# a=1", ";a=1"});
        if (kind < 5)
            return '[' + one(groups()) + ']';
        return one(keys()) + '=' + value();
    }

    std::string value()
    {
        std::string text;
        for (auto pieces = below(5); pieces > 0; --pieces)
            text += piece();
        return text;
    }

    std::string piece()
    {
        switch (below(8)) {
        case 0:
            return ";";
        case 1:
        case 2:
            return "${config:" + one({"G", "H h", "-.", "_9"}) + '/' + one(keys()) + '}';
        case 3:
            return one({" ", "\t", "  ", "$$", "$$$$", "\r", "}", "{", "=", "#", "\xff", std::string(1, '\0')});
        case 4:
            return one({"${env:TOVRIN_SET}", "${realpath:/}", "${name}", "${dollars}"});
        case 5:
            return chance(80) ? "x" : failing();
        case 6:
            return commands_ ? one({"${system:echo ' a '}", "${system:false}", "${system:printf '$x\\nb'}"}) : "y";
        default:
            return one({"true", "1", "word", "a b", "0x1F", "-7"});
        }
    }

    std::string failing()
    {
        return one({"$", "$5", "${", "${config:G/a", "${config:G}", "${config:G/a/b}", "${config:/a}", "${config:G/}",
                    "${env:TOVRIN_UNSET}", "${nope}", "${}", "${:}", "${Config:G/a}", "${envfile:x}",
                    "${envfile:/nowhere:A}", "${realpath:/nowhere}", "${a${b}}"});
    }

    // Each entry names the next one, around the budget of visits.
    std::string chain()
    {
        std::string text = "[chain]\n";
        const auto length = 30 + below(6);
        for (std::size_t i = 0; i < length; ++i)
            text += "k" + std::to_string(i) + "=<${config:chain/k" + std::to_string(i + 1) + "}>\n";
        return text + (chance(80) ? "" : "k" + std::to_string(length) + "=end\n");
    }

    std::mt19937 random_;
    bool badLines_;
    bool commands_;
};

} // namespace Tovrin::Testing
