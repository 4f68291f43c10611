// The record in which call statistics are read.
#pragma once

#include "platform/kernel/Types.h"

struct _rtp_cmnd_hdr {
    ULONG success;
    ULONG sid;
    ULONG command;
};

struct _rtp_callstats {
    _rtp_cmnd_hdr hdr;
    ULONG dropped_pkt;     // packets received and not used
    ULONG jitter_changed;  // times the sender's clock or timing jumped
    ULONG sequence_err;    // packets missing or out of order
    ULONG missed_cb;
    ULONG dsp_rx_full;
    ULONG dsp_tx_full;
};

static_assert(sizeof(_rtp_callstats) == 36);
