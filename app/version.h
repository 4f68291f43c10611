// The version of the product.
#pragma once

// "SWMODULE: " and the version.
extern const char* const product_version;

// product_version without its prefix.
const char* ProductVersionNumber();
