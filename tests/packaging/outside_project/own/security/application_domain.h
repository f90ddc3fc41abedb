// An integrator's own header, of a name that the library's rooms have too.
#ifndef OUTSIDE_APPLICATION_DOMAIN_H
#define OUTSIDE_APPLICATION_DOMAIN_H

const int ownDomains = 1;

#endif
