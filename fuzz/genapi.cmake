# SPDX-License-Identifier: Apache-2.0
# Fuzz targets of descriptions and formulas.
orvex_fuzz(xml SOURCES FuzzXml.cpp LIBS Orvex::GenApi)
orvex_fuzz(zip SOURCES FuzzXml.cpp LIBS Orvex::GenApi DEFINES ORVEX_FUZZ_ZIP)
orvex_fuzz(formula SOURCES FuzzFormula.cpp LIBS Orvex::GenApi)
