// A folder the process must not leave behind (the scratch copy of a device profile): removed on
// every exit the process can catch.
#pragma once

#include <string>

namespace tevhost {
namespace cleanup {

// Removes |dir| and all it holds (a link is removed, never followed; a folder without write
// permission is given it back first) when the process exits (exit(), a return from main) or is
// ended by SIGINT, SIGTERM, SIGHUP or SIGPIPE, which then end it as they would have (a signal the
// process ignores stays ignored). One folder at a time: a second call removes the first folder.
void removeAtExit(const std::string& dir);
// Removes the folder now, if there is one, and forgets it. Safe in a signal handler.
void removeNow();
// Removes |dir| and all it holds, as above; false when something could not be removed.
bool removeTree(const std::string& dir);

}  // namespace cleanup
}  // namespace tevhost
