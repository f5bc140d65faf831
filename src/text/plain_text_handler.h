// The two handlers of the HTML-to-text conversion. Their context is a PlainTextContext whose buffer
// has plainTextCapacity units.
#pragma once

#include "markup/tag_call.h"

namespace corvy {

// Lines and paragraphs, cells, hidden and junk text, alternative texts, `pre`, directives for
// indexers.
bool PlainTextHandler(const TagCall& call);

// Runs of text only.
bool SimplePlainTextHandler(const TagCall& call);

}  // namespace corvy
