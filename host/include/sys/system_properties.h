// Host stand-in for bionic's property limits, which libcutils' properties.h builds on.
#pragma once

#define PROP_NAME_MAX 32
#define PROP_VALUE_MAX 92
