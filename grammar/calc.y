/*
 * A calculator: statements ended by ';', with the four operations by
 * precedence, unary minus, parentheses, an empty rule and an error rule.
 * R(n) marks rule n in each action, for programs that log the reductions.
 */
%token NUM
%left '+' '-'
%left '*' '/'
%right UMINUS
%%
list	: /* empty */		{ R(1); $$ = 0; }
	| list expr ';'		{ R(2); $$ = $2; }
	| list error ';'	{ R(3); $$ = 0; }
	;
expr	: expr '+' expr		{ R(4); $$ = $1 + $3; }
	| expr '-' expr		{ R(5); $$ = $1 - $3; }
	| expr '*' expr		{ R(6); $$ = $1 * $3; }
	| expr '/' expr		{ R(7); $$ = $3 ? $1 / $3 : 0; }
	| '(' expr ')'		{ R(8); $$ = $2; }
	| NUM			{ R(9); $$ = $1; }
	| '-' expr %prec UMINUS	{ R(10); $$ = -$2; }
	;
%%
