#include "Vocabulary.h"

#include <cutils/properties.h>

#include <algorithm>
#include <cstring>

#include "TevVendorUtils.h"

namespace vendor::quoril::hardware::tevvendorservice::implementation {

std::string productName() {
    return prop(kProductNameProp);
}

bool readProductNameUnlogged(std::string* name) {
    char value[PROPERTY_VALUE_MAX];
    memset(value, 0, sizeof(value));
    if (property_get(kProductNameProp, value, "") < 0) {
        name->clear();
        return false;
    }
    *name = value;
    return true;
}

bool productIsOneOf(const std::string& product, const ProductList& list) {
    return std::find(list.begin(), list.end(), product) != list.end();
}

bool productContainsOneOf(const std::string& product, const ProductList& list) {
    return TevVendorUtils::getInstance().checkProductInList(product, list);
}

bool contains(const std::string& text, const char* fragment) {
    return text.find(fragment) != std::string::npos;
}

bool beginsWith(const std::string& text, const char* prefix) {
    return text.compare(0, strlen(prefix), prefix) == 0;
}

std::string prop(const char* key, const char* defaultValue) {
    return TevVendorUtils::getInstance().getPropertyValue(key, defaultValue);
}

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
