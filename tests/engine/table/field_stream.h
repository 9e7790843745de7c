// A transport stream of H.264 field pictures: written bit by bit, since no encoder at hand makes them.
#pragma once

#include "scratch_files.h"

/// How the two fields of a picture travel.
enum class FieldUnits { both_in_one, one_each };

/// Numbered pictures of 320x256, 25 per second, each coded as two fields, a key picture every second.
Bytes make_field_stream(int pictures, FieldUnits units);
