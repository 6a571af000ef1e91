# Compile options shared by every target of the project.
function(orl_target_options target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra
    -mcx16  # the lock-free stack swaps its 16-byte head with cmpxchg16b
    # Error frames name sources relative to the project root.
    -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
  if(ORL_TSAN)
    target_compile_options(${target} PUBLIC -fsanitize=thread)
    target_link_options(${target} PUBLIC -fsanitize=thread)
  endif()
  if(ORL_SANITIZE)
    target_compile_options(${target} PUBLIC -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(${target} PUBLIC -fsanitize=address,undefined)
  endif()
endfunction()
