# Read by cpack before it makes the package (CPACK_PROJECT_CONFIG_FILE):
# cpack dates every entry of the package by SOURCE_DATE_EPOCH, here the
# date that the build wrote into the engine's banner.
set(ENV{SOURCE_DATE_EPOCH} "${CPACK_ORVO_SOURCE_DATE_EPOCH}")
