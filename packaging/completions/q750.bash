# Completion of the q750 command for bash. It needs nothing but bash itself.

# Sets current to the word that is being completed and words to those before it. COMP_WORDS does not serve: bash splits
# it at colons, which the names of scanners contain.
_q750_words() {
  words=() current=''
  local line=${COMP_LINE:0:COMP_POINT}
  read -ra words <<<"$line"
  if [[ $line == *[[:space:]] ]]; then
    current=''
  else
    current=${words[-1]-}
    unset 'words[-1]'
  fi
}

# Offers those lines of its input that begin with the current word, after the option and the equals sign before it,
# without the part that bash keeps: up to the last colon or equals sign.
_q750_offer() {
  local whole=$option$current kept='' choice
  if [[ $COMP_WORDBREAKS == *=* ]]; then kept=$option; fi
  if [[ $whole == *:* && $COMP_WORDBREAKS == *:* ]]; then kept=${whole%"${whole##*:}"}; fi
  while IFS= read -r choice; do
    if [[ -n $choice && $choice == "$current"* ]]; then
      choice=$option$choice
      COMPREPLY+=("${choice#"$kept"}")
    fi
  done
}

_q750_devices() {
  "${words[0]}" list 2>/dev/null | while read -r name _; do
    case $name in virtual | usb:*) printf '%s\n' "$name" ;; esac
  done
}

_q750_files() {
  compopt -o filenames 2>/dev/null
  _q750_offer < <(compgen -f -- "$current")
}

_q750_faults() {
  printf '%s\n' stall time-out short-write unplug exception-reply split-reply garbage-reply garbage \
    truncated-image wrong-header silence
}

# Offers the values of an option. Fails for a flag.
_q750_values() {
  case $1 in
    -o | --output | --virtual-paper | --certificate | --key | --config) _q750_files ;;
    -d | --device) _q750_offer < <(_q750_devices) ;;
    -m | --mode) _q750_offer < <(printf '%s\n' color gray lineart) ;;
    -r | --resolution) _q750_offer < <(printf '%s\n' 75 150 200 300 400 600) ;;
    -p | --paper)
      _q750_offer < <(printf '%s\n' a4 a5 a5-landscape a6 a6-landscape b5 b6 b6-landscape letter legal executive \
        statement statement-landscape card 9x13cm 9x13cm-landscape 10x15cm 10x15cm-landscape 13x18cm \
        13x18cm-landscape 3.5x5in 3.5x5in-landscape 4x6in 4x6in-landscape 5x7in 5x7in-landscape 8x10in)
      ;;
    --rotate) _q750_offer < <(printf '%s\n' 0 90 180 270) ;;
    --format) _q750_offer < <(printf '%s\n' tiff png jpeg pnm pdf) ;;
    --quality) _q750_offer < <(printf '%s\n' 75 90 95 lossless) ;;
    --progress) _q750_offer < <(printf '%s\n' auto bar plain json none) ;;
    --virtual-fault) _q750_offer < <(_q750_faults) ;;
    -a | --area | --threshold | --brightness | --contrast | --gamma | --first-page | --timeout | --listen) ;;
    --port | --name | --bind) ;;
    --pages) [[ $current != -* ]] ;; # its number may be left out
    --virtual-packet-size | --virtual-warm-up | --virtual-speed) ;;
    *) return 1 ;;
  esac
}

_q750_options() {
  printf '%s\n' --help
  case $1 in
    list) printf '%s\n' --json ;;
    scan)
      printf '%s\n' --output --format --quality --device --resolution --mode --threshold --brightness --contrast --gamma \
        --area --paper --rotate --pages --first-page --append --no-clobber --progress --timeout --quiet --verbose \
        --virtual-paper --virtual-fault --virtual-packet-size \
        --virtual-warm-up --virtual-speed --virtual-real-time
      ;;
    doctor)
      printf '%s\n' --device --timeout --json --virtual-paper --virtual-fault --virtual-packet-size --virtual-warm-up \
        --virtual-speed --virtual-real-time
      ;;
    share)
      printf '%s\n' --version --device --port --name --bind --announce --config --certificate --key --timeout --virtual --virtual-paper \
        --virtual-fault --virtual-packet-size --virtual-warm-up --virtual-speed --virtual-real-time
      ;;
    virtual) printf '%s\n' --listen --virtual-paper --virtual-fault --virtual-packet-size ;;
    *) printf '%s\n' --version ;;
  esac
}

_q750() {
  local words current option=''
  COMPREPLY=()
  _q750_words
  if [[ $current == --*=* ]]; then
    option=${current%%=*}=
    current=${current#*=}
    _q750_values "${option%=}"
    return
  fi
  if ((${#words[@]} == 1)) && [[ $current != -* ]]; then
    _q750_offer < <(printf '%s\n' list scan doctor virtual share)
    return
  fi
  if ((${#words[@]} > 2)) && _q750_values "${words[-1]}"; then return; fi
  if [[ ${words[1]-} == scan && -n $current && $current != -* ]]; then
    _q750_files
    return
  fi
  _q750_offer < <(_q750_options "${words[1]-}")
}

complete -F _q750 q750
