#pragma once

// Everything a test of the exports needs.

#include <gtest/gtest.h>

#include "kit/behavior.h"
#include "kit/child.h"
#include "kit/guarded_heap.h"
#include "kit/import_hook.h"
#include "kit/library_test.h"
#include "kit/pending_value.h"
#include "kit/read_only_holds.h"
#include "kit/scratch.h"
#include "kit/trace_log.h"
#include "tarvo/tarvo.h"
