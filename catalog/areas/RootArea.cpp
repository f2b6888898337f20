// The root's four pass-throughs to any property and any node. The getExtension operations are not
// listed: each area's getter calls them to reach the other areas.
#include <tevcatalog/Catalog.h>

namespace tevcatalog {

const Area& rootArea() {
    using I = ITevVendorService;
    static const Area area{"root",
                           "ITevVendorService",
                           [](ITevVendorService& root) -> sp<IBase> { return &root; },
                           {
                                   {"getVendorProperty",
                                    {text("key"), text("defaultValue")},
                                    Type::kVoid,
                                    Type::kString,
                                    kReads,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.getVendorProperty(a.str(0), a.str(1), o.text()));
                                    })},
                                   {"setVendorProperty",
                                    {text("key"), text("value")},
                                    Type::kVoid,
                                    Type::kString,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.setVendorProperty(a.str(0), a.str(1), o.text()));
                                    })},
                                   {"getVendorFileValue",
                                    {text("path")},
                                    Type::kVoid,
                                    Type::kString,
                                    kReads,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.getVendorFileValue(a.str(0), o.text()));
                                    })},
                                   {"setVendorFileValue",
                                    {text("path"), text("value")},
                                    Type::kVoid,
                                    Type::kString,
                                    kDrives,
                                    on<I>([](I& s, const Args& a, Outcome& o) {
                                        o.ret(s.setVendorFileValue(a.str(0), a.str(1), o.text()));
                                    })},
                           }};
    return area;
}

}  // namespace tevcatalog
