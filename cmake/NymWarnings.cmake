# Warnings for the library's own targets (not for dependencies).
function(nym_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    -Wno-sign-conversion -Werror=return-type)
endfunction()
