/*
 * Balanced parentheses: a grammar with an empty rule and no error rule.
 */
%%
s	: /* empty */		{ R(1); }
	| '(' s ')' s		{ R(2); }
	;
%%
