/// The product's names and numbers as macros, for the resource compiler, which reads nothing else. Code takes them from
/// product.h.
#pragma once

#define KSV_SHORT_NAME "ksv"
#define KSV_DESCRIPTION "Norvo KSV WebApi plugin"
#define KSV_VENDOR "Norvo"
// Where the list of programs sends a user who needs help.
#define KSV_HELP_LINK "https://norvo.example/ksv"
#define KSV_MODULE_NAME "npNorvoWebAPIKSV"
#define KSV_MIME_TYPE_STEM "application/x-vnd-norvo-webapi-"
// Ends the MIME type by which pages embed the plug-in. After a change, pages with the old type find no plug-in.
#define KSV_MIME_VERSION "5.0.9"

// The version of the file is newer than the one that pages and the registry read.
#define KSV_VERSION "5.0.5"
#define KSV_FILE_VERSION "5.0.9"
#define KSV_FILE_VERSION_FOUR KSV_FILE_VERSION ".0"
#define KSV_FILE_VERSION_NUMBERS 5, 0, 9, 0
#define KSV_INTERNAL_NAME "npNorvoWebAPIksv-5-0"
