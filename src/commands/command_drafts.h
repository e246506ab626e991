// The temporary ledger files, which show draft entries in an edition. They are common to all users of a
// base, so a session keeps them to itself from the assignment that fills them to the emptying that follows
// the edition. Another session's emptying, assignment or query of them fails meanwhile (ERR_STORE) rather
// than mix two editions; as long as nothing is assigned, several users can have the dialog before them. The
// files are free again when the session ends, however it ends.
#pragma once

#include <string_view>

namespace corvalissement {

class ServerSession;

// Empties a temporary file. A file that holds no record, or that nobody knows, is left as it is; any other
// is refused (ERR_COMMAND), because nothing but the accounting application may take its records away.
// Emptying the entries, which comes last, gives the files free.
void empty_file(ServerSession& session, std::string_view name);

// Fills the temporary files from the draft sequences of `list`, keys of 8 characters with "/" between them,
// in that order. What the files held before is replaced, so that the same assignment run twice leaves the
// same records; a sequence named twice counts once, and one that has no line is skipped. One transaction: a
// line that cannot be taken in fails it as a whole (ERR_COMMAND with the line's key).
void assign_drafts(ServerSession& session, std::string_view list);

} // namespace corvalissement
