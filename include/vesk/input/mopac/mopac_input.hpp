// The whole public API of the MOPAC input library.
#pragma once

#include "vesk/core/geometry.hpp"
#include "vesk/input/mopac/builder.hpp"
#include "vesk/input/mopac/catalogue.hpp"
#include "vesk/input/mopac/check.hpp"
#include "vesk/input/mopac/document.hpp"
#include "vesk/input/mopac/editor.hpp"
#include "vesk/input/mopac/export.hpp"
#include "vesk/input/mopac/job.hpp"
#include "vesk/input/mopac/job_editor.hpp"
#include "vesk/input/mopac/parser.hpp"
