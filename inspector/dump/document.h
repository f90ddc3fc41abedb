/// A survey as one tree, which is printed for people or for programs.
#ifndef VESTA_INSPECTOR_DUMP_DOCUMENT_H
#define VESTA_INSPECTOR_DUMP_DOCUMENT_H

#include "inspector/check/finding.h"
#include "inspector/decode/node.h"
#include "inspector/survey/survey.h"

namespace inspector {

/// Of the JSON: it grows when a key goes or means something else, not when one comes.
constexpr unsigned schemaVersion = 1;

/// All but the findings. docs/signalling.md describes it.
Node documentOf(const Survey& survey);

/// The findings, and of what they are.
Node documentOf(const Survey& survey, const Findings& findings);

}  // namespace inspector

#endif
