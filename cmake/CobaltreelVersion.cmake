# CHANGELOG.md holds the version: its first heading of the form "## 1.2.3 - 2026-01-31".
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/CHANGELOG.md)
file(STRINGS ${CMAKE_CURRENT_SOURCE_DIR}/CHANGELOG.md headings REGEX "^## ")
list(GET headings 0 heading)
if(NOT heading MATCHES "^## ([0-9]+\\.[0-9]+\\.[0-9]+) - ([0-9]+-[0-9]+-[0-9]+)$")
    message(FATAL_ERROR "CHANGELOG.md: the heading \"${heading}\" is not of the form \"## 1.2.3 - 2026-01-31\".")
endif()
set(COBALTREEL_VERSION ${CMAKE_MATCH_1})
set(COBALTREEL_RELEASE_DATE ${CMAKE_MATCH_2})
