# SPDX-License-Identifier: Apache-2.0
# Fuzz targets of virtual cameras.
orvex_fuzz(gvcp_cmd SOURCES FuzzGvcpCommand.cpp LIBS orvex_simulator)
