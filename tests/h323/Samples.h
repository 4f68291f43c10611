// One message of every kind that is sent, with every component that is held.
#pragma once

#include <vector>

#include "platform/h323/RasMessage.h"

std::vector<RasMessage> FullSamples();
