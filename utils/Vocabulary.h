#pragma once

// The words every area uses: the product name and its two list rules (the whole name, or a
// fragment of it), and the short forms of a logged property read and of the text tests.

#include <string>
#include <vector>

namespace vendor::quoril::hardware::tevvendorservice::implementation {

// The system property that names the product; unset reads as the empty name.
constexpr const char kProductNameProp[] = "ro.product.name";

// Product names, or fragments of them, in the order they are tested.
using ProductList = std::vector<std::string>;

// The product name, read through TevVendorUtils::getPropertyValue, which logs the read.
std::string productName();

// The product name read straight from the platform (property_get), which logs nothing: for the
// areas that log the name themselves when they are built. False when the platform reports a
// failure; |name| is then empty.
bool readProductNameUnlogged(std::string* name);

// The whole name is one of |list|, byte for byte.
bool productIsOneOf(const std::string& product, const ProductList& list);

// The name contains one of |list| anywhere (TevVendorUtils::checkProductInList): one entry covers
// a product's regional and edition variants, and an empty entry matches every name.
bool productContainsOneOf(const std::string& product, const ProductList& list);

// |text| contains |fragment| anywhere: a single fragment tested on its own.
bool contains(const std::string& text, const char* fragment);

// |text| begins with |prefix| (a text shorter than the prefix does not).
bool beginsWith(const std::string& text, const char* prefix);

// A property read through TevVendorUtils::getPropertyValue, which logs it.
std::string prop(const char* key, const char* defaultValue = "");

}  // namespace vendor::quoril::hardware::tevvendorservice::implementation
