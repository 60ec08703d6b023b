// SPDX-License-Identifier: Apache-2.0
#include "explain.h"

#include "absence.h"
#include "entry_story.h"
#include "session.h"

namespace Tovrin::Tool {

ExitCode explain(const ExplainOptions &options)
{
    Session session(options, options.host);
    if (!session.ready())
        return Misuse;
    const EntryStory story(options.group, options.key, session);
    if (!story.isAssigned()) {
        session.problems().report(absence(session.evaluation(), options.group, options.key, options.keysFile));
        return session.finish("");
    }
    return session.finish(options.format == Format::Json ? jsonOf(story) : textOf(story, options.color));
}

} // namespace Tovrin::Tool
