# SPDX-License-Identifier: Apache-2.0
orvex_fuzz(logrecord SOURCES FuzzLogRecord.cpp LIBS orvex_taviklog)
