#pragma once

#define OV_FRAMEWORK_EXPORT __attribute__((visibility("default")))
