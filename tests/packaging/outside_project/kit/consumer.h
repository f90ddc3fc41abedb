#ifndef CONSUMER_H
#define CONSUMER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Returns what the kit answers. */
int load_document(void* window);

/* Returns whether a document that is none is refused as one should be. */
int load_fault(void* window);

/* Counts the applications that start. */
void hear_decisions(int* starts);

/* Gives a feed a section of another table. Returns how many it counted. */
uint64_t refused_sections(void);

#ifdef __cplusplus
}
#endif

#endif
