// Every class of box.
#pragma once

#include "qv/mp4/container_box.h"
#include "qv/mp4/header_boxes.h"
#include "qv/mp4/metadata_boxes.h"
#include "qv/mp4/sample_table.h"
