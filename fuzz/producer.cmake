# SPDX-License-Identifier: Apache-2.0
# What cameras send to the producer.
orvex_fuzz(gvcp_ack SOURCES FuzzGvcpAck.cpp LIBS orvex_gigevision)
orvex_fuzz(discovery SOURCES FuzzDiscovery.cpp LIBS orvex_producer)
orvex_fuzz(gvsp SOURCES FuzzGvsp.cpp LIBS orvex_producer)
orvex_fuzz(evt3 SOURCES FuzzEvt3.cpp LIBS orvex_producer)
