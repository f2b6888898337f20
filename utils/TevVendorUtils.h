#pragma once

#include <string>
#include <vector>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// The one place through which the areas read and write system properties and kernel nodes, and
// match the product name against their product lists. Stateless; one instance per process.
class TevVendorUtils {
  public:
    static TevVendorUtils& getInstance();

    std::string getPropertyValue(const std::string& key, const std::string& defaultValue);
    std::string setPropertyValue(const std::string& key, const std::string& value);
    std::string readFilePathValue(const std::string& path);
    std::string writeFilePathValue(const std::string& path, const std::string& value);

    std::vector<std::string> splitStr(std::string str, std::string separators);
    bool startswith(const std::string& str, const std::string& prefix);
    bool checkProductInList(std::string product, std::vector<std::string> list);

  private:
    TevVendorUtils() = default;
    TevVendorUtils(const TevVendorUtils&) = delete;
    TevVendorUtils& operator=(const TevVendorUtils&) = delete;
};

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
