/// The source of page_globals.js, put into the program when it is built.
#pragma once

namespace Kit {

extern const char* const kPageGlobals;

}  // namespace Kit
