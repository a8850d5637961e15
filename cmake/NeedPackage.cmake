# find_package and find_program that tell, where they find nothing, which package of Debian 12 holds it and which script
# installs that.
function(brn_report_missing what debian_package)
  if(CMAKE_CROSSCOMPILING)
    set(remedy "Run tools/windows-dependencies.sh, which builds it.")
  else()
    set(remedy "On Debian 12 it is in the package ${debian_package}: run tools/setup.sh, which installs all that is needed, or\n"
               "  apt-get install ${debian_package}"
    )
    list(JOIN remedy "" remedy)
  endif()
  message(FATAL_ERROR "${what} was not found. ${remedy}")
endfunction()

# brn_need_package(<Debian package> <name> [what find_package takes])
macro(brn_need_package debian_package name)
  find_package(${name} ${ARGN} QUIET)
  if(NOT ${name}_FOUND)
    brn_report_missing("${name}" ${debian_package})
  endif()
endmacro()

# brn_need_program(<Debian package> <variable> <name>...): the package's own program, whatever else PATH holds.
macro(brn_need_program debian_package variable)
  find_program(${variable} NAMES ${ARGN} HINTS /usr/bin)
  if(NOT ${variable})
    brn_report_missing("The program ${ARGV2}" ${debian_package})
  endif()
endmacro()
