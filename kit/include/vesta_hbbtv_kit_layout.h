/// @file
/// The kit's binary interface: the place and size of every field, as vesta_hbbtv_layout.h has them
/// for the application manager's records.
#ifndef VESTA_HBBTV_KIT_LAYOUT_H
#define VESTA_HBBTV_KIT_LAYOUT_H

#include "vesta_hbbtv_kit.h"
#include "vesta_hbbtv_layout.h"

/// @cond

VESTA_CHECK_FIELD(HBBTV_KitXMLAITResult, status, 0, 4, 0, 4);
VESTA_CHECK_FIELD(HBBTV_KitXMLAITResult, line, 4, 4, 4, 4);
VESTA_CHECK_FIELD(HBBTV_KitXMLAITResult, column, 8, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_KitXMLAITResult, text, 12, 244, 12, 244);
VESTA_CHECK_SIZE(HBBTV_KitXMLAITResult, 256, 256);

// These two may grow, which their size tells.
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, size, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, event, 4, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, fault, 8, 4, 12, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, pid, 12, 4, 16, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, version, 16, 4, 20, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, sentVersion, 20, 4, 24, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, sections, 24, 4, 28, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, applications, 28, 4, 32, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, tag, 32, 4, 36, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, offset, 36, 4, 40, 8);
VESTA_CHECK_FIELD(HBBTV_KitFeedReport, missing, 40, 4, 48, 4);

VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, size, 0, 4, 0, 8);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, checksChecksum, 4, 4, 8, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, takesOutEmptyDescriptors, 8, 4, 12, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, numbersVersions, 12, 4, 16, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, heedsAnnouncedVersion, 16, 4, 20, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, joinsPIDs, 20, 4, 24, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, carriedMajor, 24, 1, 28, 1);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, carriedMinor, 25, 1, 29, 1);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, carriedMicro, 26, 1, 30, 1);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, applicationType, 28, 2, 32, 2);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, withdrawnAfter, 32, 4, 36, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, mostApplications, 36, 4, 40, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, mostTextBytes, 40, 4, 44, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, mostLabels, 44, 4, 48, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, mostChanges, 48, 4, 52, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, changesWithin, 52, 4, 56, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, heldUntilQuiet, 56, 4, 60, 4);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, listener, 60, 4, 64, 8);
VESTA_CHECK_FIELD(HBBTV_KitFeedOptions, context, 64, 4, 72, 8);

/// @endcond

#endif
