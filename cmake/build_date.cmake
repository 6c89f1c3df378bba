# The build date that the module reports and that the archive's files carry: SOURCE_DATE_EPOCH if set,
# otherwise the date of the commit, so that equal sources give equal bytes; without git, the time of
# configuration.

if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(
    COMMAND git -C "${PROJECT_SOURCE_DIR}" log -1 --format=%ct
    OUTPUT_VARIABLE commit_date OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(commit_date)
    set(ENV{SOURCE_DATE_EPOCH} "${commit_date}")
  endif()
endif()

# As the compiler's __DATE__ and __TIME__ in UTC: a day below 10 has a leading blank.
string(TIMESTAMP PIXELFORGE_BUILD_EPOCH "%s" UTC)
string(TIMESTAMP PIXELFORGE_BUILD_DATE "%b %d %Y" UTC)
string(TIMESTAMP PIXELFORGE_BUILD_TIME "%H:%M:%S" UTC)
string(REPLACE " 0" "  " PIXELFORGE_BUILD_DATE "${PIXELFORGE_BUILD_DATE}")
