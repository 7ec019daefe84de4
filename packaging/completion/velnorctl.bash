# Completion of velnorctl for bash: commands, options, setting keys, and names out of the configuration.
# What stands in a name or on the line is never expanded, but for a ~ that begins a word.

# Splits the line $1 into `words` as the shell does. The last of them is what the line ends in, empty after a
# blank; `quote` is the quote that is open there. COMP_WORDS is of no use: it is split at each @, = and : too.
_velnorctl_split() {
  local line=" $1" word='' char i
  words=() quote=''
  for ((i = 0; i < ${#line}; i++)); do
    char=${line:i:1}
    case $quote$char in
      \' | \") quote=$char ;;
      "''" | '""') quote='' ;;
      [[:blank:]])
        [[ -n $word ]] && words+=("$word")
        word=''
        ;;
      \\ | \"\\)
        ((i++))
        char=${line:i:1}
        [[ -n $quote && $char == [!\"\\\$\`] ]] && word+=\\
        word+=$char
        ;;
      \~)
        [[ -z $word && ${line:i-1:3} == [[:blank:]]\~[/[:blank:]] ]] && char=$HOME
        word+=$char
        ;;
      *) word+=$char ;;
    esac
  done
  words+=("$word")
}

# The name $1, written so that the shell reads it back where `quote` is open.
_velnorctl_quoted() {
  local single="'\\''"
  case $quote in
    \') printf '%s\n' "${1//\'/$single}" ;;
    \") sed "s/[\"\\\\\$\`]/\\\\&/g; s/!/\"'!'\"/g" <<<"$1" ;;
    *) printf '%q\n' "$1" ;;
  esac
}

# The first column of a listing, without asking anybody for anything.
_velnorctl_names() {
  "$program" "${place[@]}" "$@" </dev/null 2>/dev/null | sed 's/  .*//; /^\(address\|list\|name\)$/d'
}

_velnorctl_options() {
  echo --directory --json --yes --force --help
  [[ ${words[*]} == 'maillist add-member'* ]] && echo --read-only
}

# What may follow the words so far, of which the first two and their number decide.
_velnorctl_candidates() {
  case "${#words[@]} ${words[*]:0:2}" in
    '0 ') echo domain user maillist rule config queue mailbox status ready metrics reload ;;
    '1 domain') echo list add rename delete ;;
    '1 user') echo list add show set password delete ;;
    '1 maillist') echo list add delete members add-member remove-member ;;
    '1 rule') echo list add delete test ;;
    '1 config') echo show get set check ;;
    '1 queue') echo list show ;;
    '2 domain rename' | '2 domain delete' | '2 user list') _velnorctl_names domain list ;;
    '1 mailbox' | '2 user show' | '2 user set' | '2 user password' | '2 user delete')
      _velnorctl_names user list
      ;;
    '2 user add') ;; # a new name
    *' user add' | *' user set')
      echo Username= Pop3Enable= SmtpEnable= WebEnable= MaxMailNum= MailBoxSize= MailFolderNum= NetDiskSize= \
        ResponseSubject= ForwardAddr= ForwardEnable= ResponseEnable= ForwardSaveLocal=
      ;;
    '2 maillist delete' | '2 maillist members' | '2 maillist add-member' | '2 maillist remove-member')
      _velnorctl_names maillist list
      ;;
    '3 maillist remove-member') _velnorctl_names maillist members "${words[2]}" ;;
    '2 rule delete') _velnorctl_names rule list ;;
    '2 config get' | *' config set')
      echo MailPath Pop3Port SmtpPort WebPort AutoStart LogToFile AntiSpamLevel MaxSizePerMail PrimaryDNS \
        SecondaryDNS
      [[ ${words[1]} == get ]] && echo LocalDomain WebPath
      ;;
    '2 queue show') _velnorctl_names queue list ;;
  esac
}

# The directories whose names begin as $1 does; unlike compgen -d, -G expands no variable in it.
_velnorctl_directories() {
  compgen -G "${1:+$(printf %q "$1")}*/" | sed 's,/$,,'
}

# A reply takes the place of $2, the end of the last word from its last @, = or : on (or from its quote on).
# Thus `kept`, what the word says before that, is cut off each name.
_velnorctl() {
  local line=${COMP_LINE:0:COMP_POINT} IFS=$' \t\n'
  local quote quote_kept words kept current parts program place=() name i
  _velnorctl_split "${line%"$2"}"
  kept=${words[${#words[@]} - 1]} quote_kept=$quote
  _velnorctl_split "$line"
  parts=("${words[@]}") words=() quote=$quote_kept
  program=${parts[0]} current=${parts[${#parts[@]} - 1]}
  for ((i = 1; i < ${#parts[@]} - 1; i++)); do
    case ${parts[i]} in
      --directory) place=(--directory "${parts[++i]}") ;;
      --directory=*) place=("${parts[i]}") ;;
      -*) ;;
      *) words+=("${parts[i]}") ;;
    esac
  done

  COMPREPLY=()
  if [[ $current == --directory=* || ${parts[${#parts[@]} - 2]} == --directory ]]; then
    compopt -o filenames # readline quotes these, and adds the slash
    while IFS= read -r name; do
      [[ $2 == \~/* ]] && name=${name/#"$HOME"/\~}
      [[ $current == --directory=* ]] && name=--directory=$name
      COMPREPLY+=("${name:${#kept}}")
    done < <(_velnorctl_directories "${current#--directory=}")
    return
  fi
  # compgen -W would expand what stands in a name, commands in it included.
  while read -r name; do
    if [[ $name == "$current"* && $name != "$kept" ]]; then
      COMPREPLY+=("$(_velnorctl_quoted "${name:${#kept}}")")
    fi
  done < <(if [[ $current == -* ]]; then _velnorctl_options; else _velnorctl_candidates; fi | tr -s ' ' '\n')
  [[ ${COMPREPLY[0]-} == *= ]] && compopt -o nospace
  return 0
}

complete -F _velnorctl velnorctl
