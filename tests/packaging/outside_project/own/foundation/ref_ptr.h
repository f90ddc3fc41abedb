// An integrator's own header, of a name that the library's rooms have too.
#ifndef OUTSIDE_REF_PTR_H
#define OUTSIDE_REF_PTR_H

const int ownPointers = 1;

#endif
