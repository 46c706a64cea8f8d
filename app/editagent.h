#pragma once
// The editing agent of the surface page: the facts about the caret, the DOM
// operations of the element commands and rules, and an undo history that
// covers both the user's typing and those operations. It runs in the same
// script world as the surface's own agent and lives at window.__qe.
#include <QString>

namespace editagent {

// The script that installs the agent; running it twice does no harm.
QString script();

} // namespace editagent
