// The handset's tevctl built on the host, for the tests: the same commands on the simulated
// handset of the profile TEVCTL_HANDSET_DEVICE (a folder or a bundled name; default the bundled
// default), on a scratch copy, each call in the service's sandbox scope.
#include <tevhost/Profile.h>
#include <tevhost/Sandbox.h>

#include <cstdio>
#include <cstdlib>

#include "Live.h"

int main(int argc, char** argv) {
    const char* named = getenv("TEVCTL_HANDSET_DEVICE");
    const std::string profile = named != nullptr && *named != '\0'
                                        ? tevhost::profile::resolve(named)
                                        : tevhost::profile::defaultDir();
    tevhost::profile::Profile device;
    std::string error;
    if (!device.open(profile, false, &error)) {
        fprintf(stderr, "tevctl: %s\n", error.c_str());
        return 2;
    }
    return tevctl::live::runTool(
            argc, argv,
            [](const std::function<void()>& work) {
                tevhost::sandbox::ServiceScope scope;
                work();
            },
            profile);
}
