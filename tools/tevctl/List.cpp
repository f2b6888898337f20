// list: the catalogue as a table for people, or as one JSON object, printed as the handset's
// tevctl prints it.
#include "Command.h"
#include "handset/Live.h"

namespace tevctl {

int commandList(Session& session, const Options& o, const std::vector<const Area*>& named) {
    live::printList(
            named.empty() ? allAreas() : named,
            [&session](const Area& area) { return session.available(area); }, o.json);
    return 0;
}

}  // namespace tevctl
