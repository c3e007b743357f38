#pragma once

#ifndef THE_USER_ASKS
#error "the library takes a header of the user for its own"
#endif

struct Scan {
    int lines = 0;
};
