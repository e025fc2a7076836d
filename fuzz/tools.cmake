# SPDX-License-Identifier: Apache-2.0
# Fuzz targets of the program's own files.
orvex_fuzz(recording SOURCES FuzzRecording.cpp LIBS orvex_tools_base)
