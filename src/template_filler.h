// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "template_scanner.h"
#include "template_sources.h"
#include "text_scan.h"

#include <tovrin/parser/logging.h>
#include <tovrin/parser/substitutor.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace Tovrin::Parser {

// Fills in the templates of one text after the other. The buffers stay between texts, so that a file full of templates
// costs no allocation each.
class TemplateFiller {
public:
    explicit TemplateFiller(const Substitutor &substitutor) : substitutor_(substitutor) {}

    // Calls addReference(group, key, position) for each reference to another entry, the position being the offset in
    // the output. Returns false, with a logged reason, at a syntax error or a failed look-up.
    template <typename AddReference> bool fill(std::string_view text, AddReference &&addReference)
    {
        using Piece = TemplateScanner::Piece;
        TemplateScanner scanner(text);
        output_.clear();
        for (;;) {
            switch (scanner.next()) {
            case Piece::Text:
                output_ += scanner.text();
                break;
            case Piece::Template:
                if (!fillTemplate(scanner.text(), addReference))
                    return false;
                break;
            case Piece::LoneDollar:
                report("'$' must be followed by '{' or '$': ", text);
                return false;
            case Piece::Unterminated:
                report("Invalid template substitution, missing '}': ", text);
                return false;
            case Piece::End:
                return true;
            }
        }
    }

    const std::string &output() const { return output_; }

    // The output as values store it. White space cut from the front moves the positions: see offsetAfterTrim().
    std::string_view trimmedOutput() const { return trimmed(output_); }

private:
    template <typename AddReference> bool fillTemplate(std::string_view contents, AddReference &&addReference)
    {
        std::pair<std::string_view, std::string_view> reference;
        replacement_.clear();
        switch (substitutor_.resolveView(contents, replacement_, reference)) {
        case ResolveFailed:
            return false;
        case ResolvedToReference:
            addReference(reference.first, reference.second, static_cast<std::uint32_t>(output_.size()));
            return true;
        default:
            output_ += replacement_;
            return true;
        }
    }

    static void report(const char *what, std::string_view text)
    {
        Logging::logError(Logging::lConfigParser) << what << std::string(text);
    }

    const Substitutor &substitutor_;
    std::string output_;
    std::string replacement_;
};

} // namespace Tovrin::Parser
