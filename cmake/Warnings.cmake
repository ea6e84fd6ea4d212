# Applied per target through faxolino_apply_build_flags(), never globally, so that
# third-party code built alongside keeps its own flags.
function(faxolino_apply_build_flags target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow)
  if(FAXOLINO_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(FAXOLINO_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(${target} PRIVATE -fsanitize=address,undefined)
  endif()
endfunction()
