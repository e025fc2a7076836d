# SPDX-License-Identifier: Apache-2.0
orvex_fuzz(qoi SOURCES FuzzQoi.cpp LIBS orvex_inside)
orvex_fuzz(lut SOURCES FuzzLut.cpp LIBS orvex_inside)
orvex_fuzz(convert SOURCES FuzzConvert.cpp LIBS orvex_inside)
orvex_fuzz(imagesocket SOURCES FuzzImageSocket.cpp LIBS orvex_inside)
orvex_fuzz(logconfig SOURCES FuzzLogConfig.cpp LIBS orvex_inside)
